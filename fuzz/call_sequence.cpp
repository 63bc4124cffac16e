#include "call_sequence.h"

#include "fuzz_target.h"
#include "fuzzed_driver.h"
#include "input.h"
#include "private_host.h"
#include "sleep_gate.h"

#include "VeskNvme.h"
#include "events/event_builder.h"
#include "support/logger.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <numeric>
#include <string>
#include <vector>

namespace {

using veskfuzz::require;

constexpr unsigned kMostCalls = 24;
constexpr std::size_t kHeader = sizeof(Info_Request);
constexpr std::size_t kMostDisks = 2;
// Of the polling thread, in seconds. libFuzzer has a thread of its own, which sleeps for one.
constexpr unsigned kShortestInterval = 50;

// Library, host files and polling thread for all inputs.
class RunningLibrary {
public:
    RunningLibrary() {
        m_host.writeConfigIni("[Logging]\nDebug=Off\n");
        ZT_API_Initialize();
        start();
    }
    ~RunningLibrary() { stop(); }

    void prepare(veskfuzz::Input replies) {
        m_host.writeMappingIni("[Adapter]\n1=2001\n2=2002\n[PhysicalDevice]\n31=2101\n"
                               "[EventSequenceNumber]\nSequenceNumber=0\n");
        veskfuzz::FuzzedDriver::instance().answerFrom(std::move(replies));
        CEventBuilder::destroyEventsInEventsMap();
    }

    void beginLog() {
        m_host.write(vesktest::kLogPath, "");
        stg::lout.startDebug();
    }
    // A logger once started builds its lines for ever: the next input gets a new one. The polling
    // thread sleeps, and the library uses the logger on no other.
    void endLog() {
        stg::lout.stopDebug();
        stg::lout.~CLogger();
        new (&stg::lout) stg::CLogger;
        requireWholeLines(m_host.read(vesktest::kLogPath));
    }

    // The polling thread looks at the log once.
    void poll() {
        m_gate->release();
        require(m_gate->waitForSleeper(++m_sleeps), "a poll ends");
    }

    void restart() {
        stop();
        start();
    }

private:
    // Every call ends with a line that says so, also behind texts of any bytes.
    static void requireWholeLines(const std::string& log) {
        static const std::string begin = "(T: ";
        static const std::string end = " EXIT \n";
        require(log.empty() ||
                    (log.compare(0, begin.size(), begin) == 0 && log.size() > end.size() &&
                     log.compare(log.size() - end.size(), end.size(), end) == 0),
                "the log has whole lines");
    }

    void start() {
        m_gate.reset();  // its handler goes before the next one comes
        m_gate = std::make_unique<vesktest::SleepGate>(kShortestInterval);
        m_sleeps = 1;
        veskfuzz::FuzzedDriver::instance().showController();
        ZNV_Library_Initialize();
        require(ZT_Adapter_GetCount() == 1, "the controller is found");
        require(m_gate->waitForSleeper(m_sleeps), "the first poll ends");
    }
    void stop() {
        m_gate->releaseAll();
        ZNV_Library_Finalize();
        require(veskfuzz::FuzzedDriver::instance().openConnections() == 0,
                "nothing is left open at the end");
    }

    vesktest::PrivateHost m_host;
    std::unique_ptr<vesktest::SleepGate> m_gate;
    std::size_t m_sleeps = 0;
};

// One call's four bytes.
struct Call {
    unsigned function;
    UCHAR_ first;
    UCHAR_ second;
    UCHAR_ third;
};

bool isOneOf(UCHAR_ result, std::initializer_list<int> promised) {
    return std::find(promised.begin(), promised.end(), result) != promised.end();
}

bool isTerminated(const void* record, std::size_t offset, std::size_t size) {
    return std::memchr(static_cast<const char*>(record) + offset, 0, size) != nullptr;
}

// A disk call with room for so many records, all of it noise before.
void callDisks(UCHAR_ (*function)(UCHAR_, PInfo_Request), const Call& call, std::size_t recordSize,
               std::size_t mostRecords) {
    const std::size_t size = kHeader + mostRecords * recordSize;
    const std::unique_ptr<char[]> room(new char[size]);
    std::memset(room.get(), 0xA5, size);
    auto* const request = reinterpret_cast<PInfo_Request>(room.get());
    request->requestType = call.second;
    request->id = call.third;
    const UCHAR_ result = function(call.first, request);
    require(isOneOf(result, {ERR_NONE, ERR_FAIL, ERR_INVALID_REQUEST}), "a disk call's result");
    require(result != ERR_NONE || request->recordCount <= mostRecords, "records fit their room");
    if (function == ZT_PD_GetHDInfo_Ext && result == ERR_NONE) {
        for (USHORT_INT i = 0; i < request->recordCount; ++i) {
            const char* const disk = room.get() + kHeader + i * recordSize;
            require(isTerminated(disk, offsetof(PD_Info, modelNumber), 40) &&
                        isTerminated(disk, offsetof(PD_Info, serialNumber), 20) &&
                        isTerminated(disk, offsetof(PD_Info, firmwareVersion), 8),
                    "a disk's texts are NUL terminated");
        }
    }
}

void deliverEvents(const Call& call) {
    const std::unique_ptr<UCHAR_> count = std::make_unique<UCHAR_>(0xA5);
    const std::unique_ptr<CEvent[]> events(new CEvent[64]);
    const UCHAR_ result = ZT_EVT_GetEvent(call.first, call.second, count.get(), events.get());
    require(result == ERR_NONE && *count <= 64, "a delivery's result");
    for (UCHAR_ i = 0; i < *count; ++i) {
        require(isTerminated(&events[i], CEVENT_DESCRIPTION, 30),
                "an event's description is NUL terminated");
        require(i == 0 || events[i].getSequenceNo() > events[i - 1].getSequenceNo(), "events rise");
    }
}

void run(RunningLibrary& library, const Call& call) {
    switch (call.function) {
    case 0: {
        const std::unique_ptr<UCHAR_> count = std::make_unique<UCHAR_>(0xA5);
        const std::unique_ptr<CController> controller = std::make_unique<CController>();
        const UCHAR_ result = ZT_Adapter_GetInfo(call.first, count.get(), controller.get());
        require(isOneOf(result, {ERR_NONE, ERR_FAIL}) && *count == 1, "a controller's result");
        break;
    }
    case 1: {
        const std::unique_ptr<Adapter_OEM_Data> data = std::make_unique<Adapter_OEM_Data>();
        require(ZT_Adapter_Get_OEM_Data(call.first, data.get()) == ERR_NONE, "a version's result");
        break;
    }
    case 2:
        callDisks(ZT_PD_GetHDInfo_Ext, call, sizeof(PD_Info), kMostDisks);
        break;
    case 3:
        callDisks(ZT_PD_GetConfig, call, sizeof(PD_Config), kMostDisks);
        break;
    case 4:
        callDisks(ZT_PD_GetHDRaidStatus, call, sizeof(PD_RaidStatus), 1);
        break;
    case 5:
        callDisks(ZT_PD_GetFreeSpaceInfo, call, sizeof(PD_FreeSpaceInfo), 1);
        break;
    case 6:
        callDisks(ZT_LD_GetInfo, call, sizeof(VD_Info), kMostDisks);
        break;
    case 7:
        callDisks(ZT_LD_GetConfig, call, sizeof(VD_Config), kMostDisks);
        break;
    case 8: {
        const std::unique_ptr<SMART_INFO_ARRAY> health = std::make_unique<SMART_INFO_ARRAY>();
        require(isOneOf(ZT_PD_GET_SMART_INFO(call.first, call.second, call.third, health.get()),
                        {ERR_NONE, ERR_FAIL}),
                "a health call's result");
        require(isTerminated(&health->attributes[0], offsetof(SMART_ATTRIBUTE, name), 65),
                "a row's name is NUL terminated");
        break;
    }
    case 9: {
        const std::unique_ptr<PD_OEM_Data> led = std::make_unique<PD_OEM_Data>();
        led->pdId = call.second;
        led->ledStatus = call.third;
        require(ZT_PD_OEMData(call.first, led.get()) == ERR_NONE, "a light's result");
        break;
    }
    case 10:
        deliverEvents(call);
        break;
    case 11:
        library.poll();
        break;
    case 12:
        require(ZT_Adapter_GetConfig(call.first, nullptr, nullptr) == ERR_NONE, "nothing done");
        require(ZT_Adapter_GetInfo(call.first, nullptr, nullptr) == ERR_NULL_ARGUMENT &&
                    ZT_LD_GetInfo(call.first, nullptr) == ERR_NULL_ARGUMENT &&
                    ZT_EVT_GetEvent(call.first, 0, nullptr, nullptr) == ERR_NULL_ARGUMENT,
                "a null record is refused");
        break;
    default:
        break;
    }
}

}  // namespace

void veskfuzz::runCalls(const std::uint8_t* data, std::size_t size, bool logged) {
    static RunningLibrary library;
    veskfuzz::Input input(data, size);
    const unsigned count = input.byte() % (kMostCalls + 1);
    std::vector<Call> calls(count);
    for (Call& call : calls) {
        call.function = input.byte() % 14;
        call.first = input.byte();
        call.second = input.byte();
        call.third = input.byte();
    }
    library.prepare(veskfuzz::Input(input.rest()));
    if (logged) {
        library.beginLog();
    }
    // Of pages the log gets each character by itself, which takes as long as twenty calls: of the
    // inputs with a log, one in eight polls, and once.
    int polls = !logged ? int{kMostCalls} : std::accumulate(data, data + size, 0U) % 8 == 0 ? 1 : 0;
    bool restarted = false;
    for (const Call& call : calls) {
        const bool restarts = call.function == 13;
        if ((restarts || call.function == 11) && polls-- <= 0) {
            continue;
        }
        if (!restarts) {
            run(library, call);
        } else if (!restarted) {
            library.restart();
            restarted = true;
        }
    }
    if (logged) {
        library.endLog();
    }
}
