// The talker as an object: singleton, handle, address, and what its operations call.
#include "connected_talker.h"
#include "memory_faults.h"
#include "traced_host.h"
#include "virtual_slot.h"

#include <gtest/gtest.h>

#include <array>
#include <type_traits>

namespace {

using namespace vesktest;

// Answers in the place of discovery and of the driver.
class AnsweringTalker : public CVMWareZNVDeviceTalker {
public:
    UCHAR_ getControllerCount() override { return m_count; }
    RESULT executeIOCTL(znvTalkerMulti* request) override {
        m_request = *request;
        m_uio = *request->uio;
        return m_result;
    }

    UCHAR_ m_count = 0;
    RESULT m_result = 0;
    znvTalkerMulti m_request{};
    nvme_uio m_uio{};
};

using Address = std::array<UCHAR_, 3>;  // function, device, bus

Address addressOf(CVMWareZNVDeviceTalker& talker) {
    const BDF address = talker.getBDF();
    return {address.function, address.device, address.bus};
}

TEST(DeviceTalker, IsOneForTheProcess) {
    const PrivateHost host;
    ScriptedDriver driver;
    const TalkerInstance instance(driver);
    EXPECT_EQ(CVMWareZNVDeviceTalker::getUniqueInstance(),
              CVMWareZNVDeviceTalker::m_pVMWareZNVDeviceTalkerInstance);
    EXPECT_EQ(CVMWareZNVDeviceTalker::getUniqueInstance(), &instance.talker());
    EXPECT_EQ(IZNVDeviceTalker::OS_OSTYPEPTR_PAIR.second, &instance.talker());
    EXPECT_EQ(IZNVDeviceTalker::OS_OSTYPEPTR_PAIR.first, "Vmware");
}

TEST(DeviceTalker, StartsEmptyAndKeepsHandleAndTheThreeBytesOfTheAddress) {
    const PrivateHost host;
    CVMWareZNVDeviceTalker talker;
    EXPECT_EQ(talker.getHandle(), nullptr);
    EXPECT_EQ(addressOf(talker), (Address{0, 0, 0}));
    talker.setBDF(BDF{0x12, 0x34, 0x56});
    EXPECT_EQ(addressOf(talker), (Address{0x12, 0x34, 0x56}));
    int anything = 0;
    talker.setHandle(&anything);
    EXPECT_EQ(talker.getHandle(), &anything);
    talker.setHandle(nullptr);
}

TEST(DeviceTalker, LifeWithoutAConnectionOnlyLogsItself) {
    TracedHost host;
    ScriptedDriver driver;
    { const CVMWareZNVDeviceTalker talker; }
    EXPECT_EQ(host.lines(), (LogLines{"IZNVDeviceTalker::IZNVDeviceTalker() ENTRY ",
                                      "IZNVDeviceTalker::IZNVDeviceTalker() EXIT ",
                                      "CVMWareZNVDeviceTalker::CVMWareZNVDeviceTalker() ENTRY ",
                                      "CVMWareZNVDeviceTalker::CVMWareZNVDeviceTalker() EXIT ",
                                      "CVMWareZNVDeviceTalker::~CVMWareZNVDeviceTalker() ENTRY ",
                                      "CVMWareZNVDeviceTalker::~CVMWareZNVDeviceTalker() EXIT "}));
    EXPECT_EQ(driver.callCount(), 0U);
}

TEST(DeviceTalker, DestructorClosesTheConnectionWhateverTheDriverSaysToIt) {
    const PrivateHost host;
    ScriptedDriver driver;
    for (const int result : {0, 17}) {
        CVMWareZNVDeviceTalker talker;
        talker.setHandle(makeHandle("vmhba2", 0xBEEF00000001));
        driver.expectClose(0xBEEF00000001, result);
    }
    EXPECT_EQ(driver.callCount(), 2U);
}

TEST(DeviceTalker, TearDownLeavesThePairAndWorksOnce) {
    TracedHost host;
    ScriptedDriver driver;
    CVMWareZNVDeviceTalker caller;
    CLibInitializer::createOSdeviceTalkerInstance();
    CVMWareZNVDeviceTalker* const talker = CVMWareZNVDeviceTalker::getUniqueInstance();
    talker->setHandle(makeHandle("vmhba2", 9));
    driver.expectClose(9);
    for (int call = 0; call < 2; ++call) {
        host.forgetLines();
        caller.destroyOSdeviceTalker();
        EXPECT_TRUE(host.traced("CVMWareZNVDeviceTalker::destroyOSdeviceTalker()"));
        EXPECT_EQ(CVMWareZNVDeviceTalker::m_pVMWareZNVDeviceTalkerInstance, nullptr);
        EXPECT_EQ(IZNVDeviceTalker::OS_OSTYPEPTR_PAIR.second, talker);
        EXPECT_EQ(driver.callCount(), 1U);
    }
}

TEST(DeviceTalker, FailedCreationIsLoggedAndYieldsNull) {
    if (!kCanFailNew) {
        GTEST_SKIP() << kWhyNewCannotFail;
    }
    TracedHost host;
    {
        const FailNew fault(AllocationSize::exactly(sizeof(CVMWareZNVDeviceTalker)));
        EXPECT_EQ(CVMWareZNVDeviceTalker::getUniqueInstance(), nullptr);
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(CVMWareZNVDeviceTalker::m_pVMWareZNVDeviceTalkerInstance, nullptr);
    EXPECT_EQ(host.messages(), LogLines{"CVMWareZNVDeviceTalker::getUniqueInstance(): Failed to "
                                        "allocate Memory. std::bad_alloc"});
}

TEST(DeviceTalker, CopiesCarryNothing) {
    TracedHost host;
    ScriptedDriver driver;
    CVMWareZNVDeviceTalker original;
    original.setHandle(makeHandle("vmhba2", 4));
    original.setBDF(BDF{1, 2, 3});

    host.forgetLines();
    CVMWareZNVDeviceTalker copy(original);
    EXPECT_TRUE(host.traced("CVMWareZNVDeviceTalker::CVMWareZNVDeviceTalker()"));
    EXPECT_EQ(copy.getHandle(), nullptr);
    EXPECT_EQ(addressOf(copy), (Address{0, 0, 0}));

    copy.setBDF(BDF{4, 5, 6});
    host.forgetLines();
    EXPECT_EQ(&(copy = original), &copy);
    EXPECT_TRUE(host.traced("CVMWareZNVDeviceTalker::operator=()"));
    EXPECT_EQ(copy.getHandle(), nullptr);
    EXPECT_EQ(addressOf(copy), (Address{4, 5, 6}));

    driver.expectClose(4);  // once
}

TEST(DeviceTalker, ExistenceIsTheCount) {
    TracedHost host;
    AnsweringTalker talker;
    host.forgetLines();
    EXPECT_FALSE(talker.checkControllerExistence());
    EXPECT_EQ(host.messages(), LogLines{});
    EXPECT_TRUE(host.traced("CVMWareZNVDeviceTalker::checkControllerExistence()"));
    talker.m_count = 1;
    EXPECT_TRUE(talker.checkControllerExistence());
    EXPECT_EQ(host.messages(), LogLines{"CVMWareZNVDeviceTalker::checkControllerExistence(): VESK "
                                        "R7 controller exists on the system"});
}

TEST(DeviceTalker, CommandsGoThroughTheVirtualOperation) {
    TracedHost host;
    AnsweringTalker talker;
    int connection = 0;
    talker.setHandle(&connection);
    talker.m_result = 5;
    CCommandDword command;
    command.setcdw0(0x1E2);
    host.forgetLines();
    EXPECT_EQ(talker.executeCMD(&command, 0xFEDCBA9876543210), 5);
    EXPECT_EQ(talker.m_request.handle, static_cast<void*>(&connection));
    EXPECT_EQ(talker.m_request.code, 0xFEDCBA9876543210);
    EXPECT_EQ(talker.m_uio.opcode, 0xE2);
    EXPECT_EQ(talker.m_uio.fuse, 1);
    EXPECT_EQ(host.messages(), LogLines{"CVMWareZNVDeviceTalker::executeCMD: Return code: 5"});
    talker.setHandle(nullptr);
}

TEST(DeviceTalker, IdentifyGoesThroughTheVirtualOperationWithTheGivenHandle) {
    const PrivateHost host;
    AnsweringTalker talker;
    int held = 0;
    talker.setHandle(&held);
    nvme_handle given{};
    std::array<std::uint8_t, 4096> buffer{};
    talker.m_result = 5;
    EXPECT_EQ(talker.getIdentifyData(&given, buffer.data()), 5);
    EXPECT_EQ(talker.m_request.handle, &given);
    EXPECT_EQ(talker.m_request.code, 1U);
    EXPECT_EQ(talker.m_uio.dataAddress, buffer.data());
    // That an adapter is not the controller, and how it is not, is one result.
    EXPECT_EQ(talker.isZenthraNVMeVESKcontroller(&given), 5);
    talker.setHandle(nullptr);
}

TEST(DeviceTalker, OperationsKeepTheirPlaces) {
    EXPECT_TRUE(std::has_virtual_destructor_v<IZNVDeviceTalker>);
    EXPECT_EQ(virtualSlot(&IZNVDeviceTalker::checkControllerExistence), 2);
    EXPECT_EQ(virtualSlot(&IZNVDeviceTalker::getControllerCount), 3);
    EXPECT_EQ(virtualSlot(&IZNVDeviceTalker::destroyOSdeviceTalker), 4);
    EXPECT_EQ(virtualSlot(&IZNVDeviceTalker::executeCMD), 5);
    EXPECT_EQ(virtualSlot(&IZNVDeviceTalker::executeIOCTL), 6);
    EXPECT_EQ(sizeof(CVMWareZNVDeviceTalker), sizeof(IZNVDeviceTalker));
}

}  // namespace
