// The dispatcher: its instance, every command id without a controller; and the builders that it
// works with.
#include "api/builder_type_factory.h"
#include "api/command_handler.h"
#include "api/error_state.h"
#include "controller/controller_builder.h"
#include "discovery_script.h"
#include "disks/physical_disk_builder.h"
#include "disks/virtual_disk_builder.h"
#include "events/event_builder.h"
#include "memory_faults.h"
#include "noise.h"
#include "traced_host.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <typeinfo>
#include <vector>

namespace {

using vesktest::AllocationSize;
using vesktest::contains;
using vesktest::FailNew;
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
    return CommandHandler::navigator(command);
}

// Room for every answer, and a request for disk 0.
std::vector<std::uint8_t> diskRequest() {
    std::vector<std::uint8_t> bytes = noise(16 + 2 * 312, 7);
    bytes[1] = 2;
    bytes[2] = 0;
    return bytes;
}

}  // namespace

// ---- The instance ----

TEST(CommandHandler, InstanceIsMadeOnFirstUseAndAgainAfterItsEnd) {
    EXPECT_EQ(CommandHandler::m_pCommandHandlerInstance, nullptr);
    CommandHandler* const handler = CommandHandler::getUniqueInstance();
    ASSERT_NE(handler, nullptr);
    EXPECT_EQ(CommandHandler::m_pCommandHandlerInstance, handler);
    EXPECT_EQ(CommandHandler::getUniqueInstance(), handler);
    CommandHandler::destroyMe();
    EXPECT_EQ(CommandHandler::m_pCommandHandlerInstance, nullptr);
    CommandHandler::destroyMe();
    EXPECT_NE(CommandHandler::getUniqueInstance(), nullptr);
}

TEST(CommandHandler, StaticStateSurvivesTheInstance) {
    TracedHost logging;
    CommandHandler::getUniqueInstance();
    CommandHandler::m_ControllerCount = 1;
    CommandHandler::m_libraryInitialized = 1;
    CommandHandler::m_libraryFinalized = 7;
    logging.forgetLines();
    CommandHandler::destroyMe();
    EXPECT_EQ(CommandHandler::m_ControllerCount, 1);
    EXPECT_EQ(CommandHandler::m_libraryInitialized, 1);
    EXPECT_EQ(CommandHandler::m_libraryFinalized, 7);
    EXPECT_EQ(
        logging.lines(),
        (LogLines{"CommandHandler::destroyMe()libVeskNvme:CCommandHandler::destroyMe() ENTRY ",
                  "CommandHandler::destroyMe()libVeskNvme:CCommandHandler::destroyMe() EXIT "}));
}

TEST(CommandHandler, InstanceThatCannotBeMadeIsLoggedAndCommandsRunWithoutIt) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    TracedHost logging;
    CommandHandler::m_ControllerCount = 1;
    {
        const FailNew fail(AllocationSize::exactly(sizeof(CommandHandler)), 1,
                           vesktest::Repeat::kEachLater);
        EXPECT_EQ(CommandHandler::getUniqueInstance(), nullptr);
        EXPECT_EQ(ZT_Adapter_GetCount(), 1);
    }
    EXPECT_TRUE(
        contains(logging.lines(),
                 "CommandHandler::getUniqueInstance(): Failed to allocate Memory. std::bad_alloc"));
    EXPECT_EQ(CommandHandler::m_pCommandHandlerInstance, nullptr);
    EXPECT_NE(CommandHandler::getUniqueInstance(), nullptr) << "the next call tries again";
}

// ---- The commands ----

TEST(CommandHandler, IdsWithoutACommandDoNothing) {
    TracedHost logging;
    const ScriptedDriver driver;
    VeskNVMeLibrary_Error::setErrorCode(19);
    for (const UNSIGNED_INTEGER id : {0U, 17U, 18U, 256U, 65536U, 65538U, 4294967295U}) {
        logging.forgetLines();
        EXPECT_EQ(run(id), 0) << id;
        EXPECT_EQ(logging.lines(), (LogLines{"CommandHandler::navigator() ENTRY ",
                                             "CommandHandler::navigator() EXIT "}))
            << id;
    }
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 19);
    EXPECT_EQ(driver.callCount(), 0U);
}

TEST(CommandHandler, EachIdWritesTheLinesOfItsCommand) {
    struct Row {
        UNSIGNED_INTEGER id;
        const char* line;
    };
    const Row rows[] = {
        {1, "libVeskNvme: CommandHandler::navigator(): Calling \"ZT_API_Initialize API\" ..."},
        {2, "libVeskNvme: CommandHandler::navigator(): Zenthra NVMe Controller count = 0"},
        {3, "libVeskNvme: CommandHandler::navigator(): Calling ZT_Adapter_GetInfo API .... "},
        {4, "libVeskNvme: CommandHandler::navigator(): Calling Identify_PD"},
        {6, "libVeskNvme: CommandHandler::navigator(): Calling EVT_GETEVENT"},
        {7, "libVeskNvme: CommandHandler::navigator(): Calling ZT_PD_GetHDInfo_Ext API ...."},
        {8, "libVeskNvme: CommandHandler::navigator(): Calling PD_GetConfig"},
        {9, "libVeskNvme: CommandHandler::navigator(): Start of PD_GET_SMART_INFO case"},
        {10,
         "libVeskNvme: CommandHandler::navigator(): Calling \"ZT_PD_GetHDRaidStatus API\" ...."},
        {11, "libVeskNvme: CommandHandler::navigator(): Calling \"PD_GetFreeSpaceInfo\" API ...."},
        {12, "libVeskNvme: CommandHandler::navigator(): Start of LD_GetInfo case"},
        {13, "libVeskNvme: CommandHandler::navigator(): Calling LD_GetConfig"},
        {14, "libVeskNvme: CommandHandler::navigator(): Calling ADAPTER_GET_OEM_DATA"},
    };
    TracedHost logging;
    ScriptedDriver driver;
    vesktest::expectNoAdapter(driver);
    for (const Row& row : rows) {
        // Each argument is memory that any command may take for what it needs.
        std::vector<std::uint8_t> arguments[4];
        for (std::vector<std::uint8_t>& argument : arguments) {
            argument = diskRequest();
            argument.resize(8192);
        }
        logging.forgetLines();
        EXPECT_EQ(run(row.id, arguments[0].data(), arguments[1].data(), arguments[2].data(),
                      arguments[3].data()),
                  0);
        EXPECT_TRUE(inOrder(logging.lines(), {"CommandHandler::navigator() ENTRY ", row.line,
                                              "CommandHandler::navigator() EXIT "}));
        EXPECT_EQ(vesktest::containsPart(logging.lines(), "AdapterID = "), row.id == 7);
    }
}

TEST(CommandHandler, DiskInfoLogsTheAdapterIdRaw) {
    TracedHost logging;
    std::vector<std::uint8_t> request = diskRequest();
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

TEST(CommandHandler, OemDataChangesTheVersionOnly) {
    CController::firwareVer = _PackageVersion{0x0102, 0x0304, 0x0506, 0x0708};
    UCHAR_ adapter = 0;
    std::vector<std::uint8_t> bytes = noise(80, 14);
    std::vector<std::uint8_t> expected = bytes;
    const std::vector<std::uint8_t> version = {0x02, 0x01, 0x04, 0x03, 0x06, 0x05, 0x08, 0x07};
    std::copy(version.begin(), version.end(), expected.begin() + 24);
    EXPECT_EQ(run(14, &adapter, bytes.data()), 0);
    EXPECT_EQ(bytes, expected);
}

// ---- The builders ----

TEST(BuilderFactory, MakesANewBuilderOfTheClassOfTheCommand) {
    struct Row {
        USHORT_INT id;
        const std::type_info& type;
    };
    const Row rows[] = {
        {3, typeid(CControllerBuilder)},    {5, typeid(CEventBuilder)},
        {6, typeid(CEventBuilder)},         {7, typeid(CPhysicalDiskBuilder)},
        {8, typeid(CPhysicalDiskBuilder)},  {9, typeid(CPhysicalDiskBuilder)},
        {10, typeid(CPhysicalDiskBuilder)}, {11, typeid(CPhysicalDiskBuilder)},
        {12, typeid(CVirtualDiskBuilder)},  {13, typeid(CVirtualDiskBuilder)},
        {16, typeid(CVirtualDiskBuilder)},
    };
    for (const Row& row : rows) {
        const std::unique_ptr<IBuilder> first(BuilderTypeFactory::getBuilder(row.id));
        const std::unique_ptr<IBuilder> second(BuilderTypeFactory::getBuilder(row.id));
        ASSERT_NE(first, nullptr) << row.id;
        ASSERT_NE(second, nullptr) << row.id;
        EXPECT_NE(first, second);
        const IBuilder& made = *first;
        EXPECT_TRUE(typeid(made) == row.type) << row.id;
    }
}

TEST(BuilderFactory, OtherCommandsHaveNoneAndThatIsNoError) {
    TracedHost logging;
    VeskNVMeLibrary_Error::setErrorCode(19);
    const USHORT_INT ids[] = {0, 1, 2, 4, 14, 15, 17, 259, 65535};
    for (const USHORT_INT id : ids) {
        logging.forgetLines();
        EXPECT_EQ(BuilderTypeFactory::getBuilder(id), nullptr) << id;
        EXPECT_EQ(logging.lines(), (LogLines{"BuilderTypeFactory::getBuilder() ENTRY ",
                                             "BuilderTypeFactory::getBuilder() EXIT "}));
    }
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 19);
}

TEST(BuilderFactory, BuilderThatCannotBeMadeIsNullAndAFailureInTheErrorState) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    // The builder itself, and what its constructor allocates.
    for (const std::size_t size : {sizeof(CControllerBuilder), sizeof(CController)}) {
        TracedHost logging;
        VeskNVMeLibrary_Error::setErrorCode(0);
        logging.forgetLines();
        {
            const FailNew fail(AllocationSize::exactly(size));
            EXPECT_EQ(BuilderTypeFactory::getBuilder(3), nullptr);
            ASSERT_TRUE(fail.triggered()) << size;
        }
        EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 1);
        EXPECT_TRUE(inOrder(logging.lines(), {"BuilderTypeFactory::getBuilder() ENTRY ",
                                              "std::bad_alloc", "libVeskNVMe FAILED: ERR_FAIL ",
                                              "BuilderTypeFactory::getBuilder() EXIT "}));
        EXPECT_EQ(logging.lines().back(), "BuilderTypeFactory::getBuilder() EXIT ");
    }
}

namespace {

// A builder that overrides what it must.
class LeastBuilder : public IBuilder {
public:
    explicit LeastBuilder(bool& destroyed) : m_destroyed(destroyed) {}
    ~LeastBuilder() override { m_destroyed = true; }
    VOID_ buidInfo(int) override {}
    IObject* getObject() override { return nullptr; }

private:
    bool& m_destroyed;
};

}  // namespace

TEST(BuilderBase, OptionalOperationsDoNothingAndTheDestructorIsVirtual) {
    TracedHost logging;
    bool destroyed = false;
    std::unique_ptr<IBuilder> builder = std::make_unique<LeastBuilder>(destroyed);
    std::vector<IObject*> objects;
    builder->getObjectVector(objects);
    EXPECT_TRUE(objects.empty());
    std::vector<std::uint8_t> record = noise(64, 1);
    builder->getSpecificObject(7, record.data());
    builder->setSpecificParams(7, record.data());
    builder->getSpecificObject(7, nullptr);
    builder->setSpecificParams(7, nullptr);
    EXPECT_EQ(record, noise(64, 1));
    EXPECT_EQ(logging.lines(), LogLines{});
    EXPECT_FALSE(destroyed);
    builder.reset();
    EXPECT_TRUE(destroyed);
}
