// The scan for the controller over the adapters that the driver lists.
#include "connected_talker.h"
#include "discovery_script.h"
#include "traced_host.h"

#include "transport/management_calls.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace {

using vesktest::adapterInterface;
using vesktest::AdapterLiteral;
using vesktest::controllerReply;
using vesktest::expectIdentify;
using vesktest::expectListing;
using vesktest::globalInterface;
using vesktest::identifyReply;
using vesktest::kListConnection;
using vesktest::LogLines;
using vesktest::Reply;
using vesktest::ScriptedDriver;
using vesktest::strangerReply;
using vesktest::TalkerInstance;
using vesktest::TracedHost;

const char* const kFound =
    "CVMWareZNVDeviceTalker::getControllerCount(): Found Zenthra VESK R7 controller";
const char* const kIoctlSuccess = "CVMWareZNVDeviceTalker::executeIOCTL: IOCTL call successful";
const char* const kNoAddressFile =
    "stg::CVmwareZNVDeviceTalker_Helper::findAndSetBDF: PCI BDF file could not be opened";
const char* const kExists = "CVMWareZNVDeviceTalker::checkControllerExistence(): VESK R7 "
                            "controller exists on the system";

class AdapterDiscovery : public ::testing::Test {
protected:
    AdapterDiscovery() { host.forgetLines(); }

    UCHAR_ count() { return talker().getControllerCount(); }
    CVMWareZNVDeviceTalker& talker() const { return instance.talker(); }
    nvme_handle& handle() const { return *static_cast<nvme_handle*>(talker().getHandle()); }

    void writeAddressFile(const std::string& text) {
        host.files().write(vesktest::kPciAddressPath, text);
    }

    TracedHost host;
    ScriptedDriver driver;
    TalkerInstance instance{driver};
};

TEST_F(AdapterDiscovery, FindsTheControllerAndItsAddress) {
    writeAddressFile("0000:3b:1f.7 Non-Volatile memory controller vmhba2\n");
    expectListing(driver, {{"vmhba2", "nvmesig2"}});
    expectIdentify(driver, "nvmesig2", 0xA2, controllerReply());
    EXPECT_EQ(count(), 1);
    EXPECT_STREQ(handle().name, "vmhba2");
    EXPECT_EQ(handle().handle, 0xA2U);
    EXPECT_EQ(talker().getBDF().bus, 0x3B);
    EXPECT_EQ(talker().getBDF().device, 0x1F);
    EXPECT_EQ(talker().getBDF().function, 7);
    EXPECT_EQ(driver.openCount(), 1U);
    EXPECT_EQ(host.messages(),
              (LogLines{kIoctlSuccess,
                        "CVMWareZNVDeviceTalker::isZenthraNVMeVESKcontroller: Vendor ID returned "
                        "by identify admin command: 6987",
                        kFound, "CVMWareZNVDeviceTalker::getControllerCount(): Bus: 59",
                        "CVMWareZNVDeviceTalker::getControllerCount(): Device: 31",
                        "CVMWareZNVDeviceTalker::getControllerCount(): Function: 7"}));
}

TEST_F(AdapterDiscovery, StepsAreTraced) {
    writeAddressFile("0000:3b:1f.7 vmhba2\n");
    expectListing(driver, {{"vmhba2", "nvmesig2"}});
    expectIdentify(driver, "nvmesig2", 0xA2, controllerReply());
    EXPECT_EQ(count(), 1);
    EXPECT_TRUE(host.traced("CVMWareZNVDeviceTalker::getControllerCount()"));
    EXPECT_TRUE(host.traced("stg::CVmwareZNVDeviceTalker_Helper::getAllNVMeAdapters()"));
    EXPECT_TRUE(host.traced("stg::CVmwareZNVDeviceTalker_Helper::getDeviceHandle()"));
    EXPECT_TRUE(host.traced("CVMWareZNVDeviceTalker::isZenthraNVMeVESKcontroller()"));
    EXPECT_TRUE(host.traced("CVMWareZNVDeviceTalker::getIdentifyData()"));
    EXPECT_TRUE(host.traced("stg::CVmwareZNVDeviceTalker_Helper::findAndSetBDF()"));
}

TEST_F(AdapterDiscovery, NoAdaptersGiveNoLineBeyondEntryAndExit) {
    expectListing(driver, {});
    EXPECT_EQ(count(), 0);
    EXPECT_EQ(talker().getHandle(), nullptr);
    EXPECT_EQ(host.messages(), LogLines{});
    EXPECT_EQ(driver.openCount(), 0U);
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

TEST_F(AdapterDiscovery, AdapterThatDoesNotOpenIsPassedOver) {
    expectListing(driver, {{"vmhba1", "nvmesig1"}, {"vmhba2", "nvmesig2"}});
    driver.expectOpen(adapterInterface("nvmesig1"), 12, 0);
    expectIdentify(driver, "nvmesig2", 0xA2, controllerReply());
    EXPECT_EQ(count(), 1);
    EXPECT_STREQ(handle().name, "vmhba2");
    EXPECT_TRUE(vesktest::inOrder(
        host.messages(), {"stg::CVmwareZNVDeviceTalker_Helper::getDeviceHandle: vmk_MgmtUserInit "
                          "failed with return code: 12",
                          kFound}));
}

TEST_F(AdapterDiscovery, AdapterThatFailsIdentifyIsClosedAndPassedOver) {
    expectListing(driver, {{"vmhba1", "nvmesig1"}, {"vmhba2", "nvmesig2"}});
    Reply failing = controllerReply();
    failing.completionStatus = 0x0004;
    expectIdentify(driver, "nvmesig1", 0xA1, failing);
    driver.expectClose(0xA1);
    expectIdentify(driver, "nvmesig2", 0xA2, controllerReply());
    EXPECT_EQ(count(), 1);
    EXPECT_EQ(handle().handle, 0xA2U);
    EXPECT_EQ(
        host.messages(),
        (LogLines{"CVMWareZNVDeviceTalker::executeIOCTL: IOCTL call unsuccessful. Return code: 0",
                  "CVMWareZNVDeviceTalker::executeIOCTL: UIO status: 0",
                  "CVMWareZNVDeviceTalker::executeIOCTL: Status Code Type: 0",
                  "CVMWareZNVDeviceTalker::executeIOCTL: Status Code: 2", kIoctlSuccess,
                  "CVMWareZNVDeviceTalker::isZenthraNVMeVESKcontroller: Vendor ID returned by "
                  "identify admin command: 6987",
                  kFound, kNoAddressFile}));
}

TEST_F(AdapterDiscovery, AdapterOfAnotherVendorIsClosedAndPassedOver) {
    expectListing(driver, {{"vmhba1", "nvmesig1"}, {"vmhba2", "nvmesig2"}});
    expectIdentify(driver, "nvmesig1", 0xA1, strangerReply());
    driver.expectClose(0xA1, 9);
    expectIdentify(driver, "nvmesig2", 0xA2, controllerReply());
    EXPECT_EQ(count(), 1);
    EXPECT_EQ(handle().handle, 0xA2U);
    EXPECT_TRUE(vesktest::inOrder(host.messages(),
                                  {"CVMWareZNVDeviceTalker::isZenthraNVMeVESKcontroller: Vendor ID "
                                   "returned by identify admin command: 32902",
                                   "CVMWareZNVDeviceTalker::isZenthraNVMeVESKcontroller: Vendor ID "
                                   "returned by identify admin command: 6987",
                                   kFound}));
}

TEST_F(AdapterDiscovery, NoneOfThemBeingTheControllerGivesNone) {
    expectListing(driver, {{"vmhba1", "nvmesig1"}, {"vmhba2", "nvmesig2"}});
    expectIdentify(driver, "nvmesig1", 0xA1, strangerReply());
    driver.expectClose(0xA1);
    expectIdentify(driver, "nvmesig2", 0xA2, strangerReply());
    driver.expectClose(0xA2);
    EXPECT_EQ(count(), 0);
    EXPECT_EQ(talker().getHandle(), nullptr);
    EXPECT_EQ(driver.openCount(), 0U);
    EXPECT_FALSE(vesktest::contains(host.messages(), kFound));
}

TEST_F(AdapterDiscovery, OnlyTheVendorNumberIsLookedAt) {
    // The wanted number as a subsystem vendor, and swapped.
    expectListing(driver, {{"vmhba1", "nvmesig1"}, {"vmhba2", "nvmesig2"}});
    expectIdentify(driver, "nvmesig1", 0xA1, identifyReply({0x86, 0x80, 0x4B, 0x1B}));
    driver.expectClose(0xA1);
    expectIdentify(driver, "nvmesig2", 0xA2, identifyReply({0x1B, 0x4B}));
    driver.expectClose(0xA2);
    EXPECT_EQ(count(), 0);
    EXPECT_TRUE(vesktest::contains(host.messages(),
                                   "CVMWareZNVDeviceTalker::isZenthraNVMeVESKcontroller: Vendor "
                                   "ID returned by identify admin command: 19227"));
}

TEST_F(AdapterDiscovery, AnswerThatDriverDoesNotWriteReadsAsVendorZero) {
    expectListing(driver, {{"vmhba1", "nvmesig1"}});
    expectIdentify(driver, "nvmesig1", 0xA1, {});
    driver.expectClose(0xA1);
    EXPECT_EQ(count(), 0);
    EXPECT_TRUE(vesktest::contains(host.messages(),
                                   "CVMWareZNVDeviceTalker::isZenthraNVMeVESKcontroller: Vendor "
                                   "ID returned by identify admin command: 0"));
}

TEST_F(AdapterDiscovery, FirstOfTwoControllersWinsAndTheSecondIsNeverOpened) {
    expectListing(driver, {{"vmhba1", "nvmesig1"}, {"vmhba2", "nvmesig2"}});
    expectIdentify(driver, "nvmesig1", 0xA1, controllerReply());
    EXPECT_EQ(count(), 1);
    EXPECT_STREQ(handle().name, "vmhba1");
    EXPECT_EQ(driver.callCount(), 5U);
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

TEST_F(AdapterDiscovery, NamesThatFillTheirFieldsLoseTheirLastCharacter) {
    expectListing(driver,
                  {{"name-of-thirty-two-characters-ab", "sign-of-thirty-two-characters-ab"}});
    expectIdentify(driver, "sign-of-thirty-two-characters-a", 0xA1, controllerReply());
    EXPECT_EQ(count(), 1);
    EXPECT_STREQ(handle().name, "name-of-thirty-two-characters-a");
}

TEST_F(AdapterDiscovery, NamesOf31CharactersAreKeptWhole) {
    expectListing(driver, {{"name-of-thirty-one-characters-a", "sign-of-thirty-one-characters-a"}});
    expectIdentify(driver, "sign-of-thirty-one-characters-a", 0xA1, controllerReply());
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

TEST_F(AdapterDiscovery, WithoutAnAddressFileTheControllerCounts) {
    talker().setBDF(BDF{1, 2, 3});
    expectListing(driver, {{"vmhba2", "nvmesig2"}});
    expectIdentify(driver, "nvmesig2", 0xA2, controllerReply());
    EXPECT_EQ(count(), 1);
    EXPECT_EQ(handle().handle, 0xA2U);
    EXPECT_EQ(talker().getBDF().function, 1);
    EXPECT_EQ(talker().getBDF().device, 2);
    EXPECT_EQ(talker().getBDF().bus, 3);
    EXPECT_EQ(host.messages().back(), kNoAddressFile);
}

TEST_F(AdapterDiscovery, WithAMalformedAddressTheControllerCounts) {
    writeAddressFile("0000:3b:1f.x vmhba2\n");
    talker().setBDF(BDF{1, 2, 3});
    expectListing(driver, {{"vmhba2", "nvmesig2"}});
    expectIdentify(driver, "nvmesig2", 0xA2, controllerReply());
    EXPECT_EQ(count(), 1);
    EXPECT_EQ(talker().getBDF().function, 1);
    EXPECT_EQ(talker().getBDF().device, 2);
    EXPECT_EQ(talker().getBDF().bus, 3);
    EXPECT_EQ(host.messages().back(),
              "stg::CVmwareZNVDeviceTalker_Helper::findAndSetBDF: Error converting hex string to "
              "unsigned long: stoul");
}

TEST_F(AdapterDiscovery, EachScanLeavesOneMoreConnectionOpen) {
    expectListing(driver, {{"vmhba2", "nvmesig2"}});
    expectIdentify(driver, "nvmesig2", 0xA2, controllerReply());
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
    EXPECT_FALSE(vesktest::contains(host.messages(), kExists));
}

TEST_F(AdapterDiscovery, RunsThroughTheInitializer) {
    expectListing(driver, {{"vmhba2", "nvmesig2"}});
    expectIdentify(driver, "nvmesig2", 0xA2, controllerReply());
    EXPECT_TRUE(CLibInitializer::checkControllerExistence());
    EXPECT_EQ(handle().handle, 0xA2U);
}

TEST_F(AdapterDiscovery, CommandsThenUseTheConnection) {
    expectListing(driver, {{"vmhba2", "nvmesig2"}});
    expectIdentify(driver, "nvmesig2", 0xA2, controllerReply());
    driver.expectCommand(vesktest::record({{0, "C2"}, {96, "80 84 1E 00 00 00 00 00"}}, false));
    EXPECT_EQ(count(), 1);
    CCommandDword command;
    command.setcdw0(0xC2);
    EXPECT_EQ(talker().executeCMD(&command, 1), 0);
}

TEST(AdapterRecords, HaveTheSizesOfTheInterface) {
    EXPECT_EQ(sizeof(nvme_adapter_list), 5128U);
    EXPECT_EQ(sizeof(nvmeAdapterInfo), 80U);
    EXPECT_EQ(sizeof(nvme_uio), 120U);
}

}  // namespace
