// The commands that the builders make: one row of facts for each builder, the same rules for all.
// What only one of them does stands at the end.
#include "connected_talker.h"
#include "memory_faults.h"
#include "noise.h"
#include "recording_talker.h"
#include "traced_host.h"
#include "virtual_slot.h"

#include "api/error_state.h"
#include "controller/adapter_config_builder.h"
#include "controller/adapter_info_builder.h"
#include "controller/adapter_oem_data_builder.h"
#include "disks/locate_pd_builder.h"
#include "disks/pd_info_builder.h"
#include "disks/pdpt_log_builder.h"
#include "disks/vd_info_builder.h"
#include "events/znv_event_builder.h"
#include "transport/read_pcie_command_builder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <new>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using namespace vesktest;

using Bytes = std::vector<std::uint8_t>;

const HexAt kTimeout = {96, "80 84 1E 00 00 00 00 00"};

// The slots that are not zero, those of addresses left out.
using Slots = std::map<int, UNSIGNED_INTEGER>;

Slots slotsOf(CCommandDword& command) {
    const UNSIGNED_INTEGER all[] = {command.getcdw0(),  command.getcdw1(),  command.getcdw2(),
                                    command.getcdw3(),  command.getcdw8(),  command.getcdw9(),
                                    command.getcdw10(), command.getcdw11(), command.getcdw12(),
                                    command.getcdw13(), command.getcdw14(), command.getcdw15()};
    Slots slots;
    int number = 0;
    for (const UNSIGNED_INTEGER value : all) {
        if (value != 0) {
            slots[number] = value;
        }
        number = number == 3 ? 8 : number + 1;
    }
    return slots;
}

Bytes bufferOf(CCommandDword& command, std::size_t size) {
    const auto* const bytes = static_cast<const std::uint8_t*>(command.getcdw_6_7());
    return {bytes, bytes + size};
}

// A request to blink; noise but for the two bytes that are read.
Bytes locateRequest(std::uint8_t pdId, std::uint8_t ledStatus) {
    Bytes bytes = noise(17, 41);
    bytes[6] = pdId;
    bytes[16] = ledStatus;
    return bytes;
}

// The reads of a page of 4 KiB as they go out.
Record pageRead(const char* subCommand, const char* target) {
    return connectedRecord({{0, "E2"},
                            {40, "00 04"},
                            {48, subCommand},
                            {56, target},
                            {81, "01"},
                            {88, "00 10"},
                            kTimeout});
}

// What most builders have in common; the rows below replace what is different in theirs.
struct AnyCommand {
    static constexpr std::size_t kBufferSize = 4096;
    static constexpr ULONG_INT kCode = 1;
    static constexpr bool kInheritedAccessorAnswers = false;
    static constexpr bool kThrowsWithoutRecord = true;
    static constexpr bool kBuildIsTraced = true;
    static constexpr bool kRunsBaseExecute = true;
    static constexpr const char* kNoBufferLine = "std::bad_alloc";
    static inline const Slots kWithoutBuffer = {{0, 0xE2}};
    static inline const LogLines kBuildLines = {};
};

struct AdapterInfo : AnyCommand {
    using Builder = CAdapterInfoBuilder;
    static constexpr const char* kName = "CAdapterInfoBuilder";
    static Builder make() { return {}; }
    static CCommandDword* commandOf(Builder& builder) { return builder.getAdapterInfoCommand(); }
    static inline const Slots kBuilt = {
        {0, 0xE2}, {9, 0x1000}, {10, 0x400}, {12, 0xE0}, {14, 0x0D}};
    static Record sent() { return pageRead("E0", "0D"); }
};

struct AdapterConfig : AnyCommand {
    using Builder = CAdapterConfigBuilder;
    static constexpr const char* kName = "CAdapterConfigBuilder";
    static constexpr bool kBuildIsTraced = false;
    static Builder make() { return {}; }
    static CCommandDword* commandOf(Builder& builder) { return builder.getAdapterConfigCommand(); }
    static inline const Slots kBuilt = {{0, 0xE2}, {9, 0x1000}, {10, 0x400}, {12, 0xE1}};
    static Record sent() { return pageRead("E1", "00"); }
};

struct AdapterOemData : AnyCommand {
    using Builder = CAdapterOEMDataBuilder;
    static constexpr const char* kName = "CAdapterOEMDataBuilder";
    static Builder make() { return {}; }
    static CCommandDword* commandOf(Builder& builder) { return builder.getAdapterOEMDataCommand(); }
    static inline const Slots kBuilt = {{0, 0xE2}, {9, 0x1000}, {10, 0x400}, {12, 0xE4}};
    static Record sent() { return pageRead("E4", "00"); }
};

struct PhysicalDisk : AnyCommand {
    using Builder = CPDInfoBuilder;
    static constexpr const char* kName = "CPDInfoBuilder";
    static constexpr bool kInheritedAccessorAnswers = true;
    static constexpr bool kThrowsWithoutRecord = false;
    static Builder make() { return Builder(0x81); }
    static CCommandDword* commandOf(Builder& builder) { return builder.getPDInfoCommand(); }
    static inline const Slots kBuilt = {
        {0, 0xE2}, {9, 0x1000}, {10, 0x400}, {12, 0xE1}, {14, 0x81}};
    static Record sent() { return pageRead("E1", "81"); }
};

struct VirtualDisk : AnyCommand {
    using Builder = CVDInfoBuilder;
    static constexpr const char* kName = "CVDInfoBuilder";
    static constexpr bool kInheritedAccessorAnswers = true;
    static constexpr bool kThrowsWithoutRecord = false;
    static Builder make() { return Builder(0x81); }
    static CCommandDword* commandOf(Builder& builder) { return builder.getVDInfoCommand(); }
    static inline const Slots kBuilt = {
        {0, 0xE2}, {9, 0x1000}, {10, 0x400}, {12, 0xE2}, {14, 0x81}};
    static Record sent() { return pageRead("E2", "81"); }
};

struct LogPage : AnyCommand {
    using Builder = CPDPTLogBuilder;
    static constexpr const char* kName = "CPDPTLogBuilder";
    static constexpr std::size_t kBufferSize = 512;
    static constexpr bool kInheritedAccessorAnswers = true;
    static constexpr bool kRunsBaseExecute = false;
    static Builder make() { return {0x81, 2}; }
    static CCommandDword* commandOf(Builder& builder) { return builder.getCPDPTLogCommand(); }
    static inline const Slots kBuilt = {{0, 0xC2},        {1, 0x81}, {9, 0x200},
                                        {10, 0x007F0002}, {14, 2},   {15, 0xFFFFFFFF}};
    static inline const Slots kWithoutBuffer = {{0, 0xC2}, {1, 0x81}};
    static inline const LogLines kBuildLines = {"CPDPTLogBuilder: CDW10 = 8323074"};
    static Record sent() {
        return connectedRecord({{0, "C2"},
                                {4, "81"},
                                {40, "02 00 7F 00"},
                                {56, "02"},
                                {60, "FF FF FF FF"},
                                {80, "81 01"},
                                {88, "00 02"},
                                kTimeout});
    }
};

struct Locate : AnyCommand {
    using Builder = CLocatePDBuilder;
    static constexpr const char* kName = "CLocatePDBuilder";
    static Builder make() {
        Bytes request = locateRequest(2, 9);
        return Builder(request.data());
    }
    static CCommandDword* commandOf(Builder& builder) { return builder.getLocatePDCommand(); }
    static inline const Slots kBuilt = {{0, 0xE2}, {12, 0x7E1}, {14, 0x00020002}};
    static inline const LogLines kBuildLines = {"Blink initiated for PD 2"};
    static Record sent() {
        return connectedRecord({{0, "E2"}, {48, "E1 07"}, {56, "02 00 02"}, {81, "01"}, kTimeout});
    }
};

struct EventPage : AnyCommand {
    using Builder = CZNVEventBuilder;
    static constexpr const char* kName = "CZNVEventBuilder";
    static constexpr const char* kNoBufferLine = "CZNVEventBuilder::buildCommand(): std::bad_alloc";
    static Builder make() { return {}; }
    static CCommandDword* commandOf(Builder& builder) { return builder.getZNVEventCommand(); }
    static inline const Slots kBuilt = {{0, 0xE2}, {9, 0x1000}, {10, 0x3FF}, {12, 0x4FE}};
    static inline const LogLines kBuildLines = {"CZNVEventBuilder: CDW12 = 1278"};
    static Record sent() {
        return connectedRecord(
            {{0, "E2"}, {40, "FF 03"}, {48, "FE 04"}, {81, "01"}, {88, "00 10"}, kTimeout});
    }
};

// Not a device command: its code leads to a file of the host.
struct PciLink : AnyCommand {
    using Builder = CReadPCIeCommandBuilder;
    static constexpr const char* kName = "CReadPCIeCommandBuilder";
    static constexpr std::size_t kBufferSize = 4;
    static constexpr ULONG_INT kCode = 0;
    static constexpr bool kRunsBaseExecute = false;
    static Builder make() { return {}; }
    static CCommandDword* commandOf(Builder& builder) { return builder.getReadPCIeInfoCommand(); }
    static inline const Slots kBuilt = {};
    static inline const Slots kWithoutBuffer = {};
};

struct CommandNames {
    template <typename Command>
    static std::string GetName(int) {
        return Command::kName;
    }
};

template <typename Command>
class EachCommandBuilder : public ::testing::Test {
protected:
    CCommandDword& command() { return *Command::commandOf(builder); }
    Bytes buffer() { return bufferOf(command(), Command::kBufferSize); }

    const Bytes zeros = Bytes(Command::kBufferSize, 0);
    typename Command::Builder builder = Command::make();
};

using Commands = ::testing::Types<AdapterInfo, AdapterConfig, AdapterOemData, PhysicalDisk,
                                  VirtualDisk, LogPage, Locate, EventPage, PciLink>;
TYPED_TEST_SUITE(EachCommandBuilder, Commands, CommandNames);

TYPED_TEST(EachCommandBuilder, IsEmptyBeforeItIsBuilt) {
    ASSERT_NE(TypeParam::commandOf(this->builder), nullptr);
    EXPECT_EQ(slotsOf(this->command()), Slots{});
    EXPECT_EQ(this->command().getcdw_4_5(), nullptr);
    EXPECT_EQ(this->command().getcdw_6_7(), nullptr);
    EXPECT_EQ(this->builder.getdwIOCTLcode(), 0U);
}

TYPED_TEST(EachCommandBuilder, BuildFillsTheSlots) {
    EXPECT_EQ(this->builder.buildCommand(), 0);
    EXPECT_EQ(slotsOf(this->command()), TypeParam::kBuilt);
    EXPECT_EQ(this->command().getcdw_4_5(), nullptr);
}

TYPED_TEST(EachCommandBuilder, BufferIsClearedWhateverMemoryHeld) {
    // The allocator may hand out a block that was written to.
    void* const dirty = std::malloc(TypeParam::kBufferSize);
    ASSERT_NE(dirty, nullptr);
    volatile std::uint8_t* const bytes = static_cast<std::uint8_t*>(dirty);
    for (std::size_t i = 0; i < TypeParam::kBufferSize; ++i) {
        bytes[i] = 0xEE;
    }
    std::free(dirty);
    EXPECT_EQ(this->builder.buildCommand(), 0);
    ASSERT_NE(this->command().getcdw_6_7(), nullptr);
    EXPECT_EQ(this->buffer(), this->zeros);
}

TYPED_TEST(EachCommandBuilder, InheritedAccessorHandsOutTheSameRecordOrNone) {
    CCommandDword* const expected =
        TypeParam::kInheritedAccessorAnswers ? &this->command() : nullptr;
    ICommandBuilder& base = this->builder;
    EXPECT_EQ(base.getCCommandDwordObject(), expected);
    EXPECT_EQ(this->builder.buildCommand(), 0);
    EXPECT_EQ(base.getCCommandDwordObject(), expected);
}

TYPED_TEST(EachCommandBuilder, IsSentOnceAndItsFailureIsNotSeen) {
    RecordingTalker talker;
    talker.result = 1;
    VeskNVMeLibrary_Error::setErrorCode(0);
    EXPECT_EQ(this->builder.buildCommand(), 0);
    this->builder.execute();
    EXPECT_EQ(talker.codes, std::vector<ULONG_INT>{TypeParam::kCode});
    EXPECT_EQ(talker.commands, std::vector<CCommandDword*>{&this->command()});
    EXPECT_EQ(this->builder.getdwIOCTLcode(), TypeParam::kCode);
    EXPECT_EQ(this->buffer(), this->zeros);
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 0);
}

TYPED_TEST(EachCommandBuilder, WithoutMemoryForItsBufferIsAFailureAndTheNextCallTriesAgain) {
    TracedHost host;
    VeskNVMeLibrary_Error::setErrorCode(0);
    host.forgetLines();
    {
        const FailMalloc fault(AllocationSize::exactly(TypeParam::kBufferSize));
        EXPECT_EQ(this->builder.buildCommand(), 1);
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(slotsOf(this->command()), TypeParam::kWithoutBuffer);
    EXPECT_EQ(this->command().getcdw_6_7(), nullptr);
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 1);
    EXPECT_EQ(host.messages(),
              (LogLines{TypeParam::kNoBufferLine, "libVeskNVMe FAILED: ERR_FAIL "}));
    EXPECT_EQ(static_cast<bool>(host.traced(std::string(TypeParam::kName) + "::buildCommand()")),
              TypeParam::kBuildIsTraced);
    EXPECT_EQ(this->builder.buildCommand(), 0);
    EXPECT_EQ(slotsOf(this->command()), TypeParam::kBuilt);
    EXPECT_EQ(this->buffer(), this->zeros);
}

TYPED_TEST(EachCommandBuilder, WithoutMemoryForItsRecordThrowsOrSendsNothing) {
    if (!kCanFailNew) {
        GTEST_SKIP() << kWhyNewCannotFail;
    }
    TracedHost host;
    RecordingTalker talker;
    VeskNVMeLibrary_Error::setErrorCode(0);
    host.forgetLines();
    const FailNew fault(AllocationSize::exactly(sizeof(CCommandDword)));
    if (TypeParam::kThrowsWithoutRecord) {
        EXPECT_THROW(TypeParam::make(), std::bad_alloc);
        EXPECT_TRUE(fault.triggered());
        return;
    }
    typename TypeParam::Builder without = TypeParam::make();
    EXPECT_TRUE(fault.triggered());
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 1);
    const std::string name = TypeParam::kName;
    EXPECT_TRUE(
        inOrder(host.lines(), {name + "::" + name + "() ENTRY ", "std::bad_alloc",
                               "libVeskNVMe FAILED: ERR_FAIL ", name + "::" + name + "() EXIT "}));
    EXPECT_EQ(TypeParam::commandOf(without), nullptr);
    EXPECT_EQ(without.getCCommandDwordObject(), nullptr);
    EXPECT_EQ(without.buildCommand(), 1);
    without.execute();
    EXPECT_TRUE(talker.commands.empty());
}

// The lines of a function around others.
LogLines around(const std::string& function, const LogLines& inside) {
    LogLines lines = {function + " ENTRY "};
    lines.insert(lines.end(), inside.begin(), inside.end());
    lines.push_back(function + " EXIT ");
    return lines;
}

LogLines operator+(LogLines first, const LogLines& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

TYPED_TEST(EachCommandBuilder, LifeIsTracedAndNothingElseIsLogged) {
    TracedHost host;
    RecordingTalker talker;
    host.forgetLines();
    {
        const std::unique_ptr<ICommandBuilder> made(new
                                                    typename TypeParam::Builder(TypeParam::make()));
        made->buildCommand();
        made->execute();
    }
    const std::string name = TypeParam::kName;
    const LogLines build = TypeParam::kBuildIsTraced
                               ? around(name + "::buildCommand()", TypeParam::kBuildLines)
                               : TypeParam::kBuildLines;
    const LogLines base =
        TypeParam::kRunsBaseExecute ? around("ICommandBuilder::execute()", {}) : LogLines{};
    EXPECT_EQ(host.lines(),
              around("ICommandBuilder::ICommandBuilder()", {}) +
                  around(name + "::" + name + "()", around("CCommandDword::CCommandDword()", {})) +
                  build +
                  around(name + "::execute()", base + around("CCommandDword::execute()", {})) +
                  around(name + "::~" + name + "()", {}));
}

template <typename Command>
class EachDeviceCommandBuilder : public EachCommandBuilder<Command> {};

using DeviceCommands = ::testing::Types<AdapterInfo, AdapterConfig, AdapterOemData, PhysicalDisk,
                                        VirtualDisk, LogPage, Locate, EventPage>;
TYPED_TEST_SUITE(EachDeviceCommandBuilder, DeviceCommands, CommandNames);

TYPED_TEST(EachDeviceCommandBuilder, GoesOutAndItsReplyArrivesInTheBuffer) {
    const PrivateHost host;
    ScriptedDriver driver;
    const ConnectedTalker connected(driver);
    Reply reply;
    reply.bytes = noise(TypeParam::kBufferSize, 99);
    reply.bufferSize = TypeParam::kBufferSize;
    driver.expectCommand(TypeParam::sent(), reply);
    EXPECT_EQ(this->builder.buildCommand(), 0);
    this->builder.execute();
    EXPECT_EQ(this->buffer(), reply.bytes);
}

TYPED_TEST(EachDeviceCommandBuilder, SendsCodeOneWhateverItWas) {
    RecordingTalker talker;
    EXPECT_EQ(this->builder.buildCommand(), 0);
    this->builder.setdwIOCTLcode(0xFFFFFFFFFFFFFFFF);
    this->builder.execute();
    EXPECT_EQ(talker.codes, std::vector<ULONG_INT>{1});
    EXPECT_EQ(this->builder.getdwIOCTLcode(), 1U);
}

// With the two operations that a builder has to bring along.
class PlainBuilder : public ICommandBuilder {
public:
    RESULT buildCommand() override { return 0; }
    VOID_ execute() override { ICommandBuilder::execute(); }
};

TEST(CommandBuilder, RequestCodeHas64Bits) {
    PlainBuilder builder;
    builder.setdwIOCTLcode(0xFEDCBA9876543210);
    EXPECT_EQ(builder.getdwIOCTLcode(), 0xFEDCBA9876543210);
}

TEST(CommandBuilder, BaseExecuteSetsCodeOneAndSendsNothing) {
    RecordingTalker talker;
    PlainBuilder builder;
    builder.setdwIOCTLcode(77);
    builder.execute();
    EXPECT_EQ(builder.getdwIOCTLcode(), 1U);
    EXPECT_TRUE(talker.codes.empty());
}

TEST(CommandBuilder, OperationsKeepTheirPlaces) {
    EXPECT_TRUE(std::has_virtual_destructor_v<ICommandBuilder>);
    EXPECT_EQ(virtualSlot(&ICommandBuilder::buildCommand), 2);
    EXPECT_EQ(virtualSlot(&ICommandBuilder::execute), 3);
    EXPECT_EQ(virtualSlot(&ICommandBuilder::getCCommandDwordObject), 4);
    EXPECT_EQ(sizeof(ICommandBuilder), 16U);
}

TEST(AdapterCommands, ConfigBuildHasNoTraceLines) {
    TracedHost host;
    CAdapterConfigBuilder builder;
    host.forgetLines();
    EXPECT_EQ(builder.buildCommand(), 0);
    EXPECT_EQ(host.lines(), LogLines{});
}

// What goes into dword 14 of a built command.
template <typename Command>
UNSIGNED_INTEGER targetOf(typename Command::Builder& builder) {
    EXPECT_EQ(builder.buildCommand(), 0);
    return Command::commandOf(builder)->getcdw14();
}

TEST(PhysicalDiskCommand, TakesItsIdFromTheConstructorOrTheSetter) {
    CPDInfoBuilder unnamed;
    EXPECT_EQ(unnamed.getPDId(), 0xFF);
    EXPECT_EQ(targetOf<PhysicalDisk>(unnamed), 0xFFU);
    unnamed.setPDId(200);
    EXPECT_EQ(unnamed.getPDId(), 200);
    EXPECT_EQ(targetOf<PhysicalDisk>(unnamed), 200U);
    EXPECT_EQ(CPDInfoBuilder(7).getPDId(), 7);
}

TEST(VirtualDiskCommand, TakesItsIdFromTheConstructorOrTheSetter) {
    CVDInfoBuilder unnamed;
    EXPECT_EQ(unnamed.getVDId(), 0xFF);
    EXPECT_EQ(targetOf<VirtualDisk>(unnamed), 0xFFU);
    unnamed.setVDId(200);
    EXPECT_EQ(unnamed.getVDId(), 200);
    EXPECT_EQ(targetOf<VirtualDisk>(unnamed), 200U);
    EXPECT_EQ(CVDInfoBuilder(7).getVDId(), 7);
}

TEST(VirtualDiskCommand, KeepsTheLowByteOfALongId) {
    CVDInfoBuilder builder(static_cast<unsigned short>(0x0102));
    EXPECT_EQ(builder.getVDId(), 2);
    EXPECT_EQ(targetOf<VirtualDisk>(builder), 2U);
}

TEST(LogPageCommand, TakesItsIdsFromTheConstructorOrTheSetters) {
    TracedHost host;
    CPDPTLogBuilder builder(3, 0x80);
    EXPECT_EQ(builder.getPDId(), 3);
    EXPECT_EQ(builder.getLogPageID(), 0x80);
    builder.setPDId(0xFE);
    builder.setLogPageID(0xFF);
    EXPECT_EQ(builder.getPDId(), 0xFE);
    EXPECT_EQ(builder.getLogPageID(), 0xFF);
    host.forgetLines();
    EXPECT_EQ(builder.buildCommand(), 0);
    EXPECT_EQ(builder.getCPDPTLogCommand()->getcdw1(), 0xFEU);
    EXPECT_EQ(builder.getCPDPTLogCommand()->getcdw10(), 0x007F00FFU);
    EXPECT_EQ(host.messages(), LogLines{"CPDPTLogBuilder: CDW10 = 8323327"});
}

TEST(LogPageCommand, BuilderMadeWithoutArgumentsHasNoCommand) {
    TracedHost host;
    RecordingTalker talker;
    CPDPTLogBuilder builder;
    EXPECT_TRUE(host.traced("CPDPTLogBuilder::CPDPTLogBuilder()"));
    EXPECT_EQ(builder.getPDId(), 0);
    EXPECT_EQ(builder.getLogPageID(), 0);
    EXPECT_EQ(builder.getCPDPTLogCommand(), nullptr);
    EXPECT_EQ(builder.getCCommandDwordObject(), nullptr);
    EXPECT_EQ(builder.buildCommand(), 1);
    builder.execute();
    EXPECT_TRUE(talker.commands.empty());
}

TEST(LocateCommand, TakesItsParametersOnceFromTheRecord) {
    Bytes request = locateRequest(6, 0xF0);
    CLocatePDBuilder builder(request.data());
    request[6] = 1;
    request[16] = 0;
    EXPECT_EQ(builder.getPDId(), 2);
    EXPECT_EQ(builder.getPDLEDStatus(), 0xF0);
    builder.setPDId(3);
    builder.setPDLEDStatus(0);
    EXPECT_EQ(builder.getPDId(), 3);
    EXPECT_EQ(builder.getPDLEDStatus(), 0);
    EXPECT_EQ(targetOf<Locate>(builder), 3U);
}

TEST(LocateCommand, BuilderMadeWithoutArgumentsHasNoCommand) {
    TracedHost host;
    RecordingTalker talker;
    CLocatePDBuilder builder;
    EXPECT_TRUE(host.traced("CLocatePDBuilder::CLocatePDBuilder()"));
    EXPECT_EQ(builder.getPDId(), 0);
    EXPECT_EQ(builder.getPDLEDStatus(), 0);
    EXPECT_EQ(builder.getLocatePDCommand(), nullptr);
    EXPECT_EQ(builder.buildCommand(), 1);
    builder.execute();
    EXPECT_TRUE(talker.commands.empty());
}

TEST(CommandBuilder, AccessorsAreNotTraced) {
    TracedHost host;
    CPDInfoBuilder disk(1);
    CVDInfoBuilder volume(1);
    CPDPTLogBuilder page(1, 2);
    Bytes request = locateRequest(1, 0);
    CLocatePDBuilder locate(request.data());
    CZNVEventBuilder event;
    host.forgetLines();
    disk.setPDId(disk.getPDId());
    volume.setVDId(volume.getVDId());
    page.setPDId(page.getPDId());
    page.setLogPageID(page.getLogPageID());
    locate.setPDId(locate.getPDId());
    locate.setPDLEDStatus(locate.getPDLEDStatus());
    event.setZNVEventOffset(event.getZNVEventOffset());
    event.setZNVEventPageLength(event.getZNVEventPageLength());
    disk.getPDInfoCommand()->setcdw0(volume.getVDInfoCommand()->getcdw0());
    page.getCCommandDwordObject()->setcdw1(locate.getLocatePDCommand()->getcdw1());
    event.setdwIOCTLcode(event.getdwIOCTLcode());
    EXPECT_EQ(host.lines(), LogLines{});
}

}  // namespace
