// What the simulated host consists of, and how it is read from a file. The defaults are a healthy
// host: one controller with two disks in one mirror. Plain values; share them as you like.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

namespace vesksim {

// Vendor id by which the controller is known; other adapters know no vendor commands.
constexpr std::uint16_t kControllerVendorId = 0x1B4B;
constexpr std::size_t kMaxAdapters = 64;  // rows of the driver's list

struct PciAddress {
    std::uint16_t domain = 0;
    std::uint8_t bus = 0x3B;
    std::uint8_t device = 0;    // 0 to 31
    std::uint8_t function = 0;  // 0 to 7
};

struct PciIds {
    std::uint16_t vendor = kControllerVendorId;
    std::uint16_t device = 0x5237;
    std::uint16_t subsystemVendor = 0x7A10;
    std::uint16_t subsystemDevice = 0x0307;
};

// Speeds as PCI Express counts them (1 is 2.5 GT/s, 2 is 5, 3 is 8, 4 is 16, 5 is 32), widths in
// lanes.
struct PcieLink {
    std::uint8_t speed = 3;
    std::uint8_t maxSpeed = 3;
    std::uint8_t width = 4;
    std::uint8_t maxWidth = 4;
};

struct FirmwareVersion {
    std::uint16_t major = 1;
    std::uint16_t minor = 2;
    std::uint16_t revision = 3;
    std::uint16_t build = 1004;
};

// The health page of a disk.
struct Smart {
    std::uint8_t criticalWarning = 0;
    std::uint16_t temperatureKelvin = 311;
    std::uint8_t availableSpare = 100;
    std::uint8_t availableSpareThreshold = 10;
    std::uint8_t percentageUsed = 2;
    std::uint64_t dataUnitsRead = 1204113;
    std::uint64_t dataUnitsWritten = 903377;
    std::uint64_t hostReads = 31877210;
    std::uint64_t hostWrites = 22410093;
    std::uint64_t busyMinutes = 412;
    std::uint64_t powerCycles = 37;
    std::uint64_t powerOnHours = 5210;
    std::uint64_t unsafeShutdowns = 3;
    std::uint64_t mediaErrors = 0;
    std::uint64_t errorLogEntries = 0;
};

struct Disk {
    std::uint8_t id = 0;                    // by which commands name it
    std::uint16_t deviceId = 0;             // in disk information and free-space records
    std::uint16_t hdId = 0x100;             // in configuration and raid status records
    std::uint8_t status = 0x01;             // bit 0 online, bit 5 health alert
    std::string model = "VESK M2 480G";     // 40 bytes, any
    std::string serial = "VD00480A000170";  // 20 bytes
    std::string firmware = "E8FK113";       // 8 bytes
    std::uint32_t blockSize = 512;
    std::uint64_t size = 937703088;  // in the controller's unit
    Smart smart;
};

struct Volume {
    std::uint8_t id = 0;  // by which commands name it
    std::uint16_t vdId = 0;
    std::uint8_t status = 0;
    std::uint8_t raidMode = 1;
    std::vector<std::uint16_t> members = {0, 1};  // at most 33
    std::uint64_t size = 937570304;               // blocks
    std::uint16_t stripeBlockSize = 128;
    std::uint32_t blockSize = 512;
    std::string name = "VD_R1_1";  // 15 bytes
};

struct Event {
    std::optional<std::uint32_t> sequence;  // else one more than that of the event before
    std::optional<std::uint32_t> time;      // seconds since 1970, else the log's own time
    std::uint16_t deviceId = 0;
    std::uint16_t eventId = 0;
    std::string eventClass = "NVMe";
    std::string description;
    std::string severity = "INFO";
};

// A text is a line of the log as it stands there, without its line feed.
using EventEntry = std::variant<std::string, Event>;

struct ScheduledEvent {
    double at = 0;  // seconds since the log began
    EventEntry event;
};

// Events made up from a seed: equal seeds, equal events.
struct RandomEvents {
    std::uint64_t seed = 1;
    double meanIntervalSeconds = 0;     // 0: none come after the initial ones
    std::uint32_t initialCount = 0;     // at the beginning, behind the scenario's own events
    std::uint8_t unmappedPercent = 20;  // share of events that the usual mapping file leaves out
};

// The kinds of commands that a scenario can make fail.
enum class CommandClass { kIdentify, kAdapter, kPhysicalDisk, kVirtualDisk, kSmart, kLed, kEvents };

// What a scripted step, or a failure of the scenario, does to a command instead of, or before, the
// ordinary answer.
struct CommandOverride {
    int platformCode = 0;             // returned by the callback when not 0; nothing else happens
    std::uint8_t statusCode = 0;      // NVMe status code and type; the data stay untouched when set
    std::uint8_t statusCodeType = 0;  // 0 to 7
    std::uint32_t uioStatus = 0;      // the driver's own status word
    bool zeroReply = false;           // success, with a reply of zeros
    unsigned delayMilliseconds = 0;   // of the host's clock, through the delay handler
    // Of a scenario's failure: from when on it holds. Both have to be over.
    std::uint32_t afterCommands = 0;  // so many commands of the kind are answered before
    double afterSeconds = 0;          // of the event log's own time
};

std::vector<Disk> defaultDisks();
std::vector<EventEntry> defaultEvents();

struct Adapter {
    std::string name = "vmhba2";                // 1 to 31 characters
    std::string signature = "nvmeMgmt-vmhba2";  // 1 to 31 characters
    int openError = 0;                          // platform code of opening it; 0: it opens
    PciAddress pciAddress;
    PciIds pciIds;
    PcieLink link;
    FirmwareVersion firmware;
    std::string model = "VESK R7 NVMe RAID";  // 40 bytes, of Identify
    std::string serial = "VR7A00214B000031";  // 20 bytes, of Identify
    std::string firmwareRevision = "1.2.3";   // 8 bytes, of Identify
    char textPadding = ' ';                   // behind short texts on the wire
    std::uint8_t portCount = 2;
    std::uint16_t maxBufferSize = 512;
    std::optional<std::uint8_t> reportedDiskCount;    // else the number of disks
    std::optional<std::uint8_t> reportedVolumeCount;  // else the number of volumes
    std::vector<Disk> disks = defaultDisks();
    std::vector<Volume> volumes = {Volume()};
    std::vector<EventEntry> events = defaultEvents();  // there from the beginning, oldest first
    std::vector<ScheduledEvent> eventSchedule;
    std::optional<RandomEvents> randomEvents;
    std::uint32_t eventStartTime = 1790000100;  // seconds since 1970 at which the log begins
    bool cutEventLines = false;  // lines run on across page ends instead of starting anew
    std::map<CommandClass, CommandOverride> failures;
};

// A text file of the host: absent, with its usual text, or with a text of its own.
struct HostFile {
    bool present = true;
    std::optional<std::string> text;
};

struct Scenario {
    std::vector<Adapter> adapters = {Adapter()};  // in the driver's order, at most kMaxAdapters
    int adapterListOpenError = 0;                 // platform code of opening the adapter list
    int adapterListError = 0;                     // platform code of reading it
    std::uint64_t noiseSeed = 1;                  // for what no field defines
    HostFile pciAddressFile;
    HostFile pciConfigFile;
    HostFile configIni;
    HostFile alertMappingIni;
};

// what() names the source, the place in it, the reason and what to do.
class ScenarioError : public std::runtime_error {
public:
    ScenarioError(const std::string& source, const std::string& place, const std::string& reason,
                  const std::string& advice);
};

// A name without "/" and ".json" is one of our own scenarios, which are inside this library;
// anything else is a file. Throws ScenarioError.
Scenario loadScenario(const std::string& fileOrName);
// The same from text in memory; `source` stands in messages.
Scenario parseScenario(const std::string& text, const std::string& source);
// Names that loadScenario knows, sorted.
std::vector<std::string> builtInScenarios();
// What types alone do not say: names that are unique, texts and events that fit. Throws
// ScenarioError.
void checkScenario(const Scenario& scenario, const std::string& source);

}  // namespace vesksim
