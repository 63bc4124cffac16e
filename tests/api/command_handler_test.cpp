// The dispatcher: every command id, without a controller.
#include "api/command_handler.h"
#include "api/error_state.h"
#include "discovery_script.h"
#include "events/event_monitor.h"
#include "memory_faults.h"
#include "noise.h"
#include "traced_host.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <ostream>
#include <string>
#include <system_error>
#include <vector>

namespace {

using vesktest::contains;
using vesktest::count;
using vesktest::inOrder;
using vesktest::LogLines;
using vesktest::noise;
using vesktest::ScriptedDriver;
using vesktest::TracedHost;

RESULT run(UNSIGNED_INTEGER id, VOIDPTR arg1 = nullptr, VOIDPTR arg2 = nullptr,
           VOIDPTR arg3 = nullptr, VOIDPTR arg4 = nullptr) {
    ZTCommand command{};
    command.commandId = id;
    command.arg1 = arg1;
    command.arg2 = arg2;
    command.arg3 = arg3;
    command.arg4 = arg4;
    return CommandHandler::getUniqueInstance()->navigator(command);
}

struct DiskCommand {
    const char* name;
    UNSIGNED_INTEGER id;
    const char* openingLine;
    const char* closingLine;
};

// What stands beside the name of a test.
void PrintTo(const DiskCommand& param, std::ostream* stream) {
    *stream << param.name;
}

const DiskCommand kDiskCommands[] = {
    {"PD_GetHDInfo_Ext", 7,
     "libVeskNvme: CommandHandler::navigator(): Calling ZT_PD_GetHDInfo_Ext API ....",
     "libVeskNvme: CommandHandler::navigator(): end of ZT_PD_GetHDInfo_Ext."},
    {"PD_GetConfig", 8, "libVeskNvme: CommandHandler::navigator(): Calling PD_GetConfig",
     "libVeskNvme: CommandHandler::navigator(): End of PD_GetConfig case"},
    {"PD_GetHDRaidStatus", 10,
     "libVeskNvme: CommandHandler::navigator(): Calling \"ZT_PD_GetHDRaidStatus API\" ....",
     "libVeskNvme: CommandHandler::navigator(): End of \"ZT_PD_GetHDRaidStatus\"."},
    {"PD_GetFreeSpaceInfo", 11,
     "libVeskNvme: CommandHandler::navigator(): Calling \"PD_GetFreeSpaceInfo\" API ....",
     "libVeskNvme: CommandHandler::navigator(): End of \"PD_GetFreeSpaceInfo\"."},
    {"LD_GetInfo", 12, "libVeskNvme: CommandHandler::navigator(): Start of LD_GetInfo case",
     "libVeskNvme: CommandHandler::navigator(): End of LD_GetInfo case"},
    {"LD_GetConfig", 13, "libVeskNvme: CommandHandler::navigator(): Calling LD_GetConfig",
     "libVeskNvme: CommandHandler::navigator(): End of LD_GetConfig case"},
};

class DiskCommands : public ::testing::TestWithParam<DiskCommand> {
protected:
    // Room for every answer, and a request for disk 0.
    std::vector<std::uint8_t> m_request = [] {
        std::vector<std::uint8_t> bytes = noise(16 + 2 * 312, 7);
        bytes[1] = 2;
        bytes[2] = 0;
        return bytes;
    }();
    UCHAR_ m_adapter = 'Z';
};

INSTANTIATE_TEST_SUITE_P(Commands, DiskCommands, ::testing::ValuesIn(kDiskCommands),
                         [](const ::testing::TestParamInfo<DiskCommand>& param) {
                             return std::string(param.param.name);
                         });

}  // namespace

TEST(CommandHandler, InstanceIsMadeOnFirstUse) {
    EXPECT_EQ(CommandHandler::m_pCommandHandlerInstance, nullptr);
    CommandHandler* const handler = CommandHandler::getUniqueInstance();
    ASSERT_NE(handler, nullptr);
    EXPECT_EQ(CommandHandler::m_pCommandHandlerInstance, handler);
    EXPECT_EQ(CommandHandler::getUniqueInstance(), handler);
}

TEST(CommandHandler, InstanceIsMadeAgainAfterItsEnd) {
    CommandHandler::getUniqueInstance();
    CommandHandler::destroyMe();
    EXPECT_EQ(CommandHandler::m_pCommandHandlerInstance, nullptr);
    CommandHandler::destroyMe();
    EXPECT_NE(CommandHandler::getUniqueInstance(), nullptr);
}

TEST(CommandHandler, StaticStateSurvivesTheInstance) {
    CommandHandler::getUniqueInstance();
    CommandHandler::m_ControllerCount = 1;
    CommandHandler::m_libraryInitialized = 1;
    CommandHandler::m_libraryFinalized = 7;
    CommandHandler::destroyMe();
    EXPECT_EQ(CommandHandler::m_ControllerCount, 1);
    EXPECT_EQ(CommandHandler::m_libraryInitialized, 1);
    EXPECT_EQ(CommandHandler::m_libraryFinalized, 7);
}

TEST(CommandHandler, EndOfTheInstanceIsTracedWithItsLabel) {
    TracedHost logging;
    CommandHandler::destroyMe();
    EXPECT_EQ(
        logging.lines(),
        (LogLines{"CommandHandler::destroyMe()libVeskNvme:CCommandHandler::destroyMe() ENTRY ",
                  "CommandHandler::destroyMe()libVeskNvme:CCommandHandler::destroyMe() EXIT "}));
}

TEST(CommandHandler, InstanceThatCannotBeMadeIsNullAndLogged) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    TracedHost logging;
    {
        const vesktest::FailNew fail(vesktest::AllocationSize::exactly(sizeof(CommandHandler)));
        EXPECT_EQ(CommandHandler::getUniqueInstance(), nullptr);
    }
    EXPECT_TRUE(
        contains(logging.lines(),
                 "CommandHandler::getUniqueInstance(): Failed to allocate Memory. std::bad_alloc"));
    EXPECT_NE(CommandHandler::getUniqueInstance(), nullptr) << "the next call tries again";
}

TEST(CommandHandler, CommandsRunWithoutAnInstance) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    CommandHandler::m_ControllerCount = 1;
    const vesktest::FailNew fail(vesktest::AllocationSize::exactly(sizeof(CommandHandler)), 1,
                                 vesktest::Repeat::kEachLater);
    EXPECT_EQ(ZT_Adapter_GetCount(), 1);
    EXPECT_EQ(CommandHandler::m_pCommandHandlerInstance, nullptr);
}

TEST(CommandHandler, IdsWithoutACommandDoNothing) {
    TracedHost logging;
    const ScriptedDriver driver;
    CommandHandler::getUniqueInstance();
    VeskNVMeLibrary_Error::setErrorCode(19);
    for (const UNSIGNED_INTEGER id : {0U, 17U, 18U, 256U, 65536U, 65538U, 4294967295U}) {
        ZTCommand command{};
        command.commandId = id;
        logging.forgetLines();
        EXPECT_EQ(CommandHandler::navigator(command), 0) << id;
        EXPECT_EQ(logging.lines(), (LogLines{"CommandHandler::navigator() ENTRY ",
                                             "CommandHandler::navigator() EXIT "}))
            << id;
    }
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 19);
    EXPECT_EQ(driver.callCount(), 0U);
}

TEST(CommandHandler, CountBeforeAnySetUpIsZero) {
    TracedHost logging;
    UCHAR_ number = 0xA7;
    EXPECT_EQ(run(2, &number), 0);
    EXPECT_EQ(number, 0);
    EXPECT_TRUE(
        inOrder(logging.lines(),
                {"CommandHandler::navigator() ENTRY ",
                 "libVeskNvme: CommandHandler::navigator(): Zenthra NVMe Controller count = 0",
                 "CommandHandler::navigator() EXIT "}));
}

TEST(CommandHandler, CountIsLoggedInDecimal) {
    TracedHost logging;
    CommandHandler::m_ControllerCount = 1;
    UCHAR_ number = 0xA7;
    run(2, &number);
    EXPECT_EQ(number, 1);
    EXPECT_TRUE(
        contains(logging.lines(),
                 "libVeskNvme: CommandHandler::navigator(): Zenthra NVMe Controller count = 1"));
}

TEST(CommandHandler, InitializeWithoutAControllerStartsNoMonitor) {
    TracedHost logging;
    ScriptedDriver driver;
    vesktest::expectNoAdapter(driver);
    EXPECT_EQ(run(1), 0);
    EXPECT_EQ(CommandHandler::m_ControllerCount, 0);
    EXPECT_EQ(CommandHandler::m_libraryInitialized, 1);
    EXPECT_EQ(CVeskNVMeMonitor::m_pNVMeMonitorInstance, nullptr);
    const LogLines lines = logging.lines();
    EXPECT_TRUE(inOrder(
        lines, {"CommandHandler::navigator() ENTRY ",
                "libVeskNvme: CommandHandler::navigator(): Calling \"ZT_API_Initialize API\" ...",
                "libVeskNvme: CommandHandler::navigator(): Initializing OS type....",
                "libVeskNvme: CLibInitializer::initializeOStype(): OS found = Vmware",
                "libVeskNvme: CLibInitializer::checkControllerExistence()",
                "libVeskNvme: CommandHandler::navigator(): Controller existance = 0",
                "libVeskNvme: CommandHandler::navigator(): end of ZT_API_Initialize.",
                "CommandHandler::navigator() EXIT "}));
    EXPECT_FALSE(
        contains(lines, "libVeskNvme: CommandHandler::navigator(): Event monitoring started..."));
}

TEST(CommandHandler, InitializeWithoutAControllerKeepsAnEarlierCount) {
    const vesktest::PrivateHost host;
    ScriptedDriver driver;
    CommandHandler::m_ControllerCount = 1;
    vesktest::expectNoAdapter(driver);
    run(1);
    EXPECT_EQ(CommandHandler::m_ControllerCount, 1);
}

TEST(CommandHandler, InitializeMayRunAgainWithoutAController) {
    const vesktest::PrivateHost host;
    ScriptedDriver driver;
    vesktest::expectNoAdapter(driver);
    vesktest::expectNoAdapter(driver);
    run(1);
    run(1);
    EXPECT_EQ(driver.callCount(), 6U);
}

TEST(CommandHandler, FinalizeOfALibraryWithoutAMonitorThrows) {
    TracedHost logging;
    EXPECT_THROW(run(15), std::system_error);
    EXPECT_TRUE(contains(logging.lines(),
                         "libVeskNvme: CommandHandler::navigator(): Calling API_FINALIZE"));
    EXPECT_FALSE(contains(logging.lines(), "CommandHandler::navigator() EXIT "));
}

TEST(CommandHandler, AdapterInfoWithoutAControllerIsZero) {
    TracedHost logging;
    const ScriptedDriver driver;
    UCHAR_ adapter = 0;
    UCHAR_ number = 0xA7;
    std::vector<std::uint8_t> bytes = noise(304, 3);
    CController controller;
    std::memcpy(static_cast<void*>(&controller), bytes.data(), bytes.size());
    EXPECT_EQ(run(3, &adapter, &number, &controller), 0);
    EXPECT_EQ(number, 0);
    EXPECT_EQ(controller.getVendorID(), 0);
    EXPECT_EQ(controller.getDeviceID(), 0);
    EXPECT_EQ(controller.getFirmwareVersion().majorVersion, 0);
    EXPECT_EQ(controller.getLinkSpeed(), 0);
    EXPECT_EQ(controller.getSlotNo(), 0U);
    EXPECT_TRUE(inOrder(
        logging.lines(),
        {"libVeskNvme: CommandHandler::navigator(): Calling ZT_Adapter_GetInfo API .... ",
         "BuilderTypeFactory::getBuilder() ENTRY ", "BuilderTypeFactory::getBuilder() EXIT ",
         "libVeskNvme: CommandHandler::navigator(): end of ZT_Adapter_GetInfo",
         "CommandHandler::navigator() EXIT "}));
}

TEST(CommandHandler, OemDataCopiesTheLastFirmwareVersion) {
    TracedHost logging;
    CController::firwareVer = _PackageVersion{0x0102, 0x0304, 0x0506, 0x0708};
    UCHAR_ adapter = 0;
    const std::vector<std::uint8_t> before = noise(72, 14);
    Adapter_OEM_Data data;
    std::memcpy(&data, before.data(), sizeof data);
    EXPECT_EQ(run(14, &adapter, &data), 0);
    const std::vector<std::uint8_t> version = {0x02, 0x01, 0x04, 0x03, 0x06, 0x05, 0x08, 0x07};
    std::vector<std::uint8_t> after(72);
    std::memcpy(after.data(), &data, sizeof data);
    EXPECT_TRUE(std::equal(version.begin(), version.end(), after.begin() + 24));
    EXPECT_TRUE(std::equal(before.begin(), before.begin() + 24, after.begin()));
    EXPECT_TRUE(std::equal(before.begin() + 32, before.end(), after.begin() + 32));
    EXPECT_TRUE(contains(logging.lines(),
                         "libVeskNvme: CommandHandler::navigator(): Calling ADAPTER_GET_OEM_DATA"));
}

TEST(CommandHandler, EventsBeforeAnySetUpAreNone) {
    const ScriptedDriver driver;
    UCHAR_ adapter = 0;
    UCHAR_ unused = 0;
    UCHAR_ number = 0xA7;
    const std::vector<std::uint8_t> before = noise(64 * 64, 6);
    std::vector<std::uint8_t> events = before;
    EXPECT_EQ(run(6, &adapter, &unused, &number, events.data()), 0);
    EXPECT_EQ(number, 0);
    EXPECT_EQ(events, before);
    EXPECT_EQ(driver.callCount(), 0U);
}

TEST(CommandHandler, DiskInfoLogsTheAdapterIdRaw) {
    TracedHost logging;
    std::vector<std::uint8_t> request = noise(16 + 2 * 248, 7);
    request[1] = 2;
    request[2] = 0;
    UCHAR_ adapter = 'Z';
    run(7, &adapter, request.data());
    EXPECT_TRUE(
        inOrder(logging.lines(),
                {"libVeskNvme: CommandHandler::navigator(): Calling ZT_PD_GetHDInfo_Ext API ....",
                 "libVeskNvme: CommandHandler::navigator(): ZT_Adapter_GetInfo : AdapterID = Z",
                 "libVeskNvme: CommandHandler::navigator(): end of ZT_PD_GetHDInfo_Ext."}));
    logging.forgetLines();
    adapter = 0;
    run(7, &adapter, request.data());
    EXPECT_TRUE(
        contains(logging.lines(),
                 "libVeskNvme: CommandHandler::navigator(): ZT_Adapter_GetInfo : AdapterID = "))
        << "a raw 0 cuts the line";
}

TEST_P(DiskCommands, WriteTheirOpeningAndClosingLines) {
    TracedHost logging;
    EXPECT_EQ(run(GetParam().id, &m_adapter, m_request.data()), 0);
    EXPECT_TRUE(
        inOrder(logging.lines(), {"CommandHandler::navigator() ENTRY ", GetParam().openingLine,
                                  GetParam().closingLine, "CommandHandler::navigator() EXIT "}));
    EXPECT_EQ(count(logging.lines(), GetParam().openingLine), 1U);
    EXPECT_EQ(count(logging.lines(), GetParam().closingLine), 1U);
}

TEST_P(DiskCommands, OnlyDiskInfoLogsAnAdapterId) {
    TracedHost logging;
    run(GetParam().id, &m_adapter, m_request.data());
    EXPECT_EQ(vesktest::containsPart(logging.lines(), "AdapterID = "), GetParam().id == 7);
}

TEST(CommandHandler, EveryCommandReturnsZero) {
    const vesktest::PrivateHost host;
    ScriptedDriver driver;
    vesktest::expectNoAdapter(driver);
    std::vector<std::uint8_t> request = noise(4096, 7);
    request[1] = 2;
    request[2] = 0;
    UCHAR_ adapter = 3;
    UCHAR_ id = 0;
    UCHAR_ number = 0;
    EXPECT_EQ(run(1), 0);
    EXPECT_EQ(run(2, &number), 0);
    for (const UNSIGNED_INTEGER command : {7U, 8U, 10U, 11U, 12U, 13U}) {
        EXPECT_EQ(run(command, &adapter, request.data()), 0) << command;
    }
    EXPECT_EQ(run(9, &adapter, &id, &id, request.data()), 0);
    EXPECT_EQ(run(14, &adapter, request.data()), 0);
}
