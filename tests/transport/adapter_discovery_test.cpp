// The scan for the controller over the adapters that the driver lists.
#include "connected_talker.h"
#include "discovery_script.h"
#include "memory_faults.h"
#include "traced_host.h"

#include "transport/management_calls.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace vesktest;

const char* const kFound =
    "CVMWareZNVDeviceTalker::getControllerCount(): Found Zenthra VESK R7 controller";
const char* const kIoctlSuccess = "CVMWareZNVDeviceTalker::executeIOCTL: IOCTL call successful";
const std::string kVendor = "CVMWareZNVDeviceTalker::isZenthraNVMeVESKcontroller: Vendor ID "
                            "returned by identify admin command: ";
const char* const kNoAddressFile =
    "stg::CVmwareZNVDeviceTalker_Helper::findAndSetBDF: PCI BDF file could not be opened";
const char* const kExists = "CVMWareZNVDeviceTalker::checkControllerExistence(): VESK R7 "
                            "controller exists on the system";
const char* const kCountFailed =
    "CVMWareZNVDeviceTalker::getControllerCount: Memory Allocation failed: std::bad_alloc";

struct Rig {
    Rig() { host.forgetLines(); }

    UCHAR_ count() const { return talker().getControllerCount(); }
    CVMWareZNVDeviceTalker& talker() const { return instance.talker(); }
    nvme_handle& handle() const { return *static_cast<nvme_handle*>(talker().getHandle()); }

    void expectAddress(UCHAR_ bus, UCHAR_ device, UCHAR_ function) const {
        EXPECT_EQ(talker().getBDF().bus, bus);
        EXPECT_EQ(talker().getBDF().device, device);
        EXPECT_EQ(talker().getBDF().function, function);
    }

    // One adapter, which is the controller.
    void expectController() {
        expectListing(driver, {{"vmhba2", "nvmesig2"}});
        expectIdentify(driver, "nvmesig2", 0xA2, controllerReply());
    }

    TracedHost host;
    ScriptedDriver driver;
    TalkerInstance instance{driver};
};

// What becomes of an adapter that is opened.
struct Adapter {
    int openResult;
    Reply identify;
};

Adapter refused() {
    return {12, {}};
}

Adapter answering(const std::vector<std::uint8_t>& firstBytes) {
    return {0, identifyReply(firstBytes)};
}

Adapter failing() {
    Adapter adapter = answering({0x4B, 0x1B});
    adapter.identify.completionStatus = 0x0004;
    return adapter;
}

// A scan over adapters vmhba1, vmhba2 and so on. `found` is the number of the one that is the
// controller, 0 for none. Those in front of it are closed, whatever the driver says to it; those
// behind it are never opened.
void expectScan(const std::vector<Adapter>& adapters, std::size_t found, const LogLines& messages) {
    Rig rig;
    std::vector<AdapterLiteral> listed;
    for (std::size_t i = 1; i <= adapters.size(); ++i) {
        listed.push_back({"vmhba" + std::to_string(i), "nvmesig" + std::to_string(i)});
    }
    expectListing(rig.driver, listed);
    for (std::size_t i = 1; i <= (found == 0 ? listed.size() : found); ++i) {
        const Adapter& adapter = adapters[i - 1];
        if (adapter.openResult != 0) {
            rig.driver.expectOpen(adapterInterface(listed[i - 1].signature), adapter.openResult, 0);
            continue;
        }
        expectIdentify(rig.driver, listed[i - 1].signature, 0xA0 + i, adapter.identify);
        if (i != found) {
            rig.driver.expectClose(0xA0 + i, 9);
        }
    }
    EXPECT_EQ(rig.count(), found == 0 ? 0 : 1);
    EXPECT_EQ(rig.host.messages(), messages);
    EXPECT_EQ(rig.driver.openCount(), found == 0 ? 0U : 1U);
    ASSERT_EQ(rig.talker().getHandle() != nullptr, found != 0);
    if (found != 0) {
        EXPECT_EQ(rig.handle().name, listed[found - 1].name);
        EXPECT_EQ(rig.handle().handle, 0xA0 + found);
    }
}

TEST(AdapterScan, NoAdaptersGiveNoLineBeyondEntryAndExit) {
    expectScan({}, 0, {});
}

TEST(AdapterScan, AdapterThatDoesNotOpenIsPassedOver) {
    const std::string notOpened =
        "stg::CVmwareZNVDeviceTalker_Helper::getDeviceHandle: vmk_MgmtUserInit failed with "
        "return code: 12";
    expectScan({refused(), answering({0x4B, 0x1B})}, 2,
               {notOpened, kIoctlSuccess, kVendor + "6987", kFound, kNoAddressFile});
}

TEST(AdapterScan, AdapterThatFailsIdentifyIsClosedAndPassedOver) {
    expectScan({failing(), answering({0x4B, 0x1B})}, 2,
               {"CVMWareZNVDeviceTalker::executeIOCTL: IOCTL call unsuccessful. Return code: 0",
                "CVMWareZNVDeviceTalker::executeIOCTL: UIO status: 0",
                "CVMWareZNVDeviceTalker::executeIOCTL: Status Code Type: 0",
                "CVMWareZNVDeviceTalker::executeIOCTL: Status Code: 2", kIoctlSuccess,
                kVendor + "6987", kFound, kNoAddressFile});
}

TEST(AdapterScan, AdapterOfAnotherVendorIsClosedAndPassedOver) {
    expectScan({answering({0x86, 0x80}), answering({0x4B, 0x1B})}, 2,
               {kIoctlSuccess, kVendor + "32902", kIoctlSuccess, kVendor + "6987", kFound,
                kNoAddressFile});
    // The wanted number as a subsystem vendor, and swapped.
    expectScan({answering({0x86, 0x80, 0x4B, 0x1B}), answering({0x1B, 0x4B})}, 0,
               {kIoctlSuccess, kVendor + "32902", kIoctlSuccess, kVendor + "19227"});
}

TEST(AdapterScan, AnswerThatDriverDoesNotWriteReadsAsVendorZero) {
    expectScan({{0, {}}}, 0, {kIoctlSuccess, kVendor + "0"});
}

TEST(AdapterScan, FirstOfTwoControllersWinsAndTheSecondIsNeverOpened) {
    expectScan({answering({0x4B, 0x1B}), answering({0x4B, 0x1B})}, 1,
               {kIoctlSuccess, kVendor + "6987", kFound, kNoAddressFile});
}

class AdapterDiscovery : public ::testing::Test, protected Rig {
protected:
    // One allocation of this size fails during the scan, whichever way it is made.
    UCHAR_ countWithout(std::size_t size) {
        const FailMalloc mallocFault(AllocationSize::exactly(size));
        if (!kCanFailNew) {
            const UCHAR_ found = count();
            EXPECT_TRUE(mallocFault.triggered());
            return found;
        }
        const FailNew newFault(AllocationSize::exactly(size));
        const UCHAR_ found = count();
        EXPECT_TRUE(mallocFault.triggered() || newFault.triggered());
        return found;
    }
};

TEST_F(AdapterDiscovery, FindsTheControllerAndItsAddress) {
    host.files().write(kPciAddressPath, "0000:3b:1f.7 Non-Volatile memory controller vmhba2\n");
    expectController();
    EXPECT_EQ(count(), 1);
    EXPECT_STREQ(handle().name, "vmhba2");
    EXPECT_EQ(handle().handle, 0xA2U);
    expectAddress(0x3B, 0x1F, 7);
    EXPECT_EQ(host.messages(),
              (LogLines{kIoctlSuccess, kVendor + "6987", kFound,
                        "CVMWareZNVDeviceTalker::getControllerCount(): Bus: 59",
                        "CVMWareZNVDeviceTalker::getControllerCount(): Device: 31",
                        "CVMWareZNVDeviceTalker::getControllerCount(): Function: 7"}));
    for (const char* const name : {"CVMWareZNVDeviceTalker::getControllerCount()",
                                   "stg::CVmwareZNVDeviceTalker_Helper::getAllNVMeAdapters()",
                                   "stg::CVmwareZNVDeviceTalker_Helper::getDeviceHandle()",
                                   "CVMWareZNVDeviceTalker::isZenthraNVMeVESKcontroller()",
                                   "CVMWareZNVDeviceTalker::getIdentifyData()",
                                   "stg::CVmwareZNVDeviceTalker_Helper::findAndSetBDF()"}) {
        EXPECT_TRUE(host.traced(name));
    }
}

TEST_F(AdapterDiscovery, WithoutAnAddressTheControllerCountsAndTheOldAddressStays) {
    talker().setBDF(BDF{1, 2, 3});
    expectController();
    EXPECT_EQ(count(), 1);
    expectAddress(3, 2, 1);
    EXPECT_EQ(host.messages().back(), kNoAddressFile);
    std::free(&handle());  // the next scan does not release it
    host.files().write(kPciAddressPath, "0000:3b:1f.x vmhba2\n");
    expectController();
    EXPECT_EQ(count(), 1);
    expectAddress(3, 2, 1);
    EXPECT_EQ(host.messages().back(),
              "stg::CVmwareZNVDeviceTalker_Helper::findAndSetBDF: Error converting hex string to "
              "unsigned long: stoul");
}

TEST_F(AdapterDiscovery, RefusedGlobalConnectionGivesNoController) {
    driver.expectOpen(globalInterface(), 195887111, 0);
    EXPECT_EQ(count(), 0);
    EXPECT_EQ(host.messages(),
              LogLines{"stg::CVmwareZNVDeviceTalker_Helper::getAllNVMeAdapters: vmk_MgmtUserInit "
                       "failed with return code: 195887111"});
}

TEST_F(AdapterDiscovery, FailedListingStillClosesTheGlobalConnection) {
    driver.expectOpen(globalInterface(), 0, kListConnection);
    driver.expectAdapterList(kListConnection, {{"vmhba2", "nvmesig2"}}, 1, -3);
    driver.expectClose(kListConnection);
    EXPECT_EQ(count(), 0);
    EXPECT_EQ(talker().getHandle(), nullptr);
    EXPECT_EQ(host.messages(), LogLines{"stg::CVmwareZNVDeviceTalker_Helper::getAllNVMeAdapters: "
                                        "vmk_MgmtUserCallbackInvoke failed with return Code : -3"});
}

TEST_F(AdapterDiscovery, ResultOfClosingTheGlobalConnectionIsNoMatter) {
    driver.expectOpen(globalInterface(), 0, kListConnection);
    driver.expectAdapterList(kListConnection, {{"vmhba2", "nvmesig2"}}, 1);
    driver.expectClose(kListConnection, 5);
    expectIdentify(driver, "nvmesig2", 0xA2, controllerReply());
    EXPECT_EQ(count(), 1);
}

TEST_F(AdapterDiscovery, ClaimOfMoreThan64AdaptersEndsBehindThe64th) {
    for (const std::uint32_t claimed : {65U, 0x10000U, 0x10001U, 0xFFFFFFFFU}) {
        SCOPED_TRACE(claimed);
        expectListing(driver, std::vector<AdapterLiteral>(64, {"vmhba1", "nvmesig1"}), claimed);
        for (int i = 0; i < 64; ++i) {
            driver.expectOpen(adapterInterface("nvmesig1"), 12, 0);
        }
        EXPECT_EQ(count(), 0);
    }
}

TEST_F(AdapterDiscovery, The64thAdapterIsReached) {
    std::vector<AdapterLiteral> adapters(63, {"vmhba1", "nvmesig1"});
    adapters.push_back({"vmhba64", "nvmesig64"});
    expectListing(driver, adapters);
    for (int i = 0; i < 63; ++i) {
        driver.expectOpen(adapterInterface("nvmesig1"), 12, 0);
    }
    expectIdentify(driver, "nvmesig64", 0xA64, controllerReply());
    EXPECT_EQ(count(), 1);
    EXPECT_STREQ(handle().name, "vmhba64");
}

TEST_F(AdapterDiscovery, AdapterBeyondTheCountIsNotLookedAt) {
    expectListing(driver, {{"vmhba1", "nvmesig1"}, {"vmhba2", "nvmesig2"}}, 1);
    expectIdentify(driver, "nvmesig1", 0xA1, strangerReply());
    driver.expectClose(0xA1);
    EXPECT_EQ(count(), 0);
}

TEST_F(AdapterDiscovery, NamesAreKeptTo31Characters) {
    expectListing(driver, {{"name-of-thirty-two-characters-ab", "sign-of-thirty-two-characters-ab"},
                           {"name-of-thirty-one-characters-a", "sign-of-thirty-one-characters-a"}});
    expectIdentify(driver, "sign-of-thirty-two-characters-a", 0xA1, strangerReply());
    driver.expectClose(0xA1);
    expectIdentify(driver, "sign-of-thirty-one-characters-a", 0xA2, controllerReply());
    EXPECT_EQ(count(), 1);
    EXPECT_STREQ(handle().name, "name-of-thirty-one-characters-a");
}

TEST_F(AdapterDiscovery, HandleRecordEndsInNulWhateverWasThere) {
    nvme_handle record;
    std::memset(&record, 0xEE, sizeof record);
    nvmeAdapterInfo info;
    std::memset(&info, 'n', sizeof info);
    driver.expectOpen(adapterInterface("nnnnnnnnnnnnnnnnnnnnnnnnnnnnnnn"), 0, 0xFEDCBA9876543210);
    stg::CVmwareZNVDeviceTalker_Helper helper;
    EXPECT_EQ(helper.getDeviceHandle(&record, info), 0);
    EXPECT_STREQ(record.name, "nnnnnnnnnnnnnnnnnnnnnnnnnnnnnnn");
    EXPECT_EQ(record.handle, 0xFEDCBA9876543210);
}

TEST_F(AdapterDiscovery, PlatformCodesAreHandedBack) {
    stg::CVmwareZNVDeviceTalker_Helper helper;
    nvme_handle record{};
    driver.expectOpen(adapterInterface("nvmesig1"), -77, 0);
    EXPECT_EQ(helper.getDeviceHandle(&record, {"vmhba1", "nvmesig1", {}}), -77);
    nvme_adapter_list list{};
    driver.expectOpen(globalInterface(), 78, 0);
    EXPECT_EQ(helper.getAllNVMeAdapters(&list), 78);
    driver.expectOpen(globalInterface(), 0, kListConnection);
    driver.expectAdapterList(kListConnection, {}, 0, 79);
    driver.expectClose(kListConnection, 80);
    EXPECT_EQ(helper.getAllNVMeAdapters(&list), 79);
}

TEST_F(AdapterDiscovery, WhoAnAdapterIsHasTwoAnswers) {
    nvme_handle adapter{{}, 0xA1};
    driver.expectCommand(identifyRecord(), controllerReply());
    EXPECT_EQ(talker().isZenthraNVMeVESKcontroller(&adapter), 0);
    driver.expectCommand(identifyRecord(), strangerReply());
    EXPECT_EQ(talker().isZenthraNVMeVESKcontroller(&adapter), 1);
}

TEST_F(AdapterDiscovery, EachScanLeavesOneMoreConnectionOpen) {
    expectController();
    EXPECT_TRUE(talker().checkControllerExistence());
    EXPECT_EQ(host.messages().back(), kExists);
    EXPECT_EQ(driver.openCount(), 1U);
    nvme_handle* const first = &handle();

    expectListing(driver, {{"vmhba2", "nvmesig2"}});
    expectIdentify(driver, "nvmesig2", 0xB2, controllerReply());
    EXPECT_TRUE(talker().checkControllerExistence());
    EXPECT_EQ(driver.openCount(), 2U);
    EXPECT_EQ(handle().handle, 0xB2U);
    ASSERT_NE(&handle(), first);
    EXPECT_EQ(first->handle, 0xA2U);
    std::free(first);  // nobody else has it any more; the tear-down closes 0xB2 only
}

TEST_F(AdapterDiscovery, NothingFoundMeansNoController) {
    expectListing(driver, {});
    EXPECT_FALSE(talker().checkControllerExistence());
    EXPECT_FALSE(contains(host.messages(), kExists));
}

TEST_F(AdapterDiscovery, RunsThroughTheInitializerAndCommandsThenUseTheConnection) {
    expectController();
    EXPECT_TRUE(CLibInitializer::checkControllerExistence());
    EXPECT_EQ(handle().handle, 0xA2U);
    Record sent = record({{0, "C2"}, {96, "80 84 1E 00 00 00 00 00"}}, false);
    sent.handle = 0xA2;
    driver.expectCommand(sent);
    CCommandDword command;
    command.setcdw0(0xC2);
    EXPECT_EQ(talker().executeCMD(&command, 1), 0);
}

TEST_F(AdapterDiscovery, WithoutMemoryForTheListNothingIsAsked) {
    EXPECT_EQ(countWithout(5128), 0);
    EXPECT_EQ(driver.callCount(), 0U);
    EXPECT_EQ(host.messages(), LogLines{kCountFailed});
    EXPECT_TRUE(host.traced("CVMWareZNVDeviceTalker::getControllerCount()"));
}

TEST_F(AdapterDiscovery, WithoutMemoryForAHandleTheScanEnds) {
    expectListing(driver, {{"vmhba1", "nvmesig1"}, {"vmhba2", "nvmesig2"}});
    EXPECT_EQ(countWithout(40), 0);
    EXPECT_EQ(talker().getHandle(), nullptr);
    EXPECT_EQ(host.messages(), LogLines{kCountFailed});
}

TEST_F(AdapterDiscovery, WithoutMemoryForIdentifyTheNextAdapterIsTried) {
    expectListing(driver, {{"vmhba1", "nvmesig1"}, {"vmhba2", "nvmesig2"}});
    driver.expectOpen(adapterInterface("nvmesig1"), 0, 0xA1);
    driver.expectClose(0xA1);
    expectIdentify(driver, "nvmesig2", 0xA2, controllerReply());
    EXPECT_EQ(countWithout(24), 1);
    EXPECT_EQ(host.messages().front(),
              "CVMWareZNVDeviceTalker::getIdentifyData: Memory allocation failed: std::bad_alloc");
    EXPECT_TRUE(host.traced("CVMWareZNVDeviceTalker::getIdentifyData()"));
}

TEST_F(AdapterDiscovery, ExceptionBelowIdentifyMovesTheScanOn) {
    expectListing(driver, {{"vmhba1", "nvmesig1"}, {"vmhba2", "nvmesig2"}, {"vmhba3", "nvmesig3"}});
    Reply reply;
    reply.hook = [] {
        throw std::bad_alloc();
    };
    expectIdentify(driver, "nvmesig1", 0xA1, reply);
    driver.expectClose(0xA1);
    reply.hook = [] {
        throw std::runtime_error("driver fault");
    };
    expectIdentify(driver, "nvmesig2", 0xA2, reply);
    driver.expectClose(0xA2);
    expectIdentify(driver, "nvmesig3", 0xA3, controllerReply());
    EXPECT_EQ(count(), 1);
    EXPECT_EQ(
        host.messages(),
        (LogLines{
            "CVMWareZNVDeviceTalker::getIdentifyData: Memory allocation failed: std::bad_alloc",
            "CVMWareZNVDeviceTalker::getIdentifyData : Exception Error: driver fault",
            kIoctlSuccess, kVendor + "6987", kFound, kNoAddressFile}));
}

TEST_F(AdapterDiscovery, IdentifyHasOneCodeForAllFailures) {
    nvme_handle adapter{{}, 0xA1};
    std::array<std::uint8_t, 4096> buffer{};
    Reply reply;
    reply.hook = [] {
        throw std::runtime_error("driver fault");
    };
    driver.expectCommand(identifyRecord(), reply);
    EXPECT_EQ(talker().getIdentifyData(&adapter, buffer.data()), 1);
    reply.hook = nullptr;
    reply.resultCode = 22;
    driver.expectCommand(identifyRecord(), reply);
    EXPECT_EQ(talker().getIdentifyData(&adapter, buffer.data()), 1);
    driver.expectCommand(identifyRecord(), controllerReply());
    EXPECT_EQ(talker().getIdentifyData(&adapter, buffer.data()), 0);
    EXPECT_EQ(buffer[0], 0x4B);
    EXPECT_EQ(buffer[1], 0x1B);
    EXPECT_NE(buffer[4095], 0);
}

}  // namespace
