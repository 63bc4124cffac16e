// The disk calls on a simulated host, from set-up to tear-down.
#include "disk_records.h"
#include "sim_host.h"

#include "disks/physical_disk_builder.h"

#include <gtest/gtest.h>

#include <cstring>
#include <thread>
#include <vector>

namespace {

using namespace vesktest;

// The record at an offset of an answer.
template <typename Record>
Record recordAt(const Bytes& answer, std::size_t offset) {
    Record record;
    std::memcpy(&record, answer.data() + offset, sizeof record);
    return record;
}

class HealthyHost : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(host.start(), 1); }

    SimHost host{"healthy"};
};

TEST_F(HealthyHost, HasTwoDisks) {
    Bytes answer = request(1, 0, 2 * 248);
    EXPECT_EQ(ZT_PD_GetHDInfo_Ext(0, asRequest(answer)), 0);
    EXPECT_EQ(answer[6], 2);
    const auto first = recordAt<PD_Info>(answer, 16);
    const auto second = recordAt<PD_Info>(answer, 264);
    EXPECT_EQ(first.deviceId, 0);
    EXPECT_EQ(second.deviceId, 1);
    EXPECT_EQ(std::string(first.modelNumber).substr(0, 12), "VESK M2 480G");
    EXPECT_EQ(std::string(first.serialNumber).substr(0, 14), "VD00480A000170");
    EXPECT_EQ(std::string(second.serialNumber).substr(0, 14), "VD00480A000171");
    EXPECT_EQ(std::string(first.firmwareVersion), "E8FK113");
    EXPECT_EQ(first.size, 937703088U);
    EXPECT_EQ(first.blockSize, 512U);
    EXPECT_TRUE(host.driver().refusals().empty());
}

TEST_F(HealthyHost, ConfigurationAndRaidStatusNameTheOtherId) {
    Bytes answer = request(1, 0, 2 * 8);
    EXPECT_EQ(ZT_PD_GetConfig(0, asRequest(answer)), 0);
    EXPECT_EQ(Bytes(answer.begin() + 16, answer.end()),
              (Bytes{1, 1, 1, 3, 0, 0, 0x00, 0x01, 1, 1, 1, 3, 0, 0, 0x01, 0x01}));
    answer = request(2, 1, 8);
    EXPECT_EQ(ZT_PD_GetHDRaidStatus(0, asRequest(answer)), 0);
    EXPECT_EQ(Bytes(answer.begin() + 16, answer.end()), (Bytes{0x01, 0x01, 0, 0, 1, 0, 0, 0}));
}

TEST_F(HealthyHost, FreeSpaceFollowsTheDiskGoingOffline) {
    Bytes answer = request(2, 1, 16);
    EXPECT_EQ(ZT_PD_GetFreeSpaceInfo(0, asRequest(answer)), 0);
    EXPECT_EQ(recordAt<PD_FreeSpaceInfo>(answer, 16).size, 0U);
    vesksim::Scenario scenario = host.driver().scenario();
    scenario.adapters.at(0).disks.at(1).status = 0;
    host.driver().update(scenario);
    EXPECT_EQ(ZT_PD_GetFreeSpaceInfo(0, asRequest(answer)), 0);
    EXPECT_EQ(recordAt<PD_FreeSpaceInfo>(answer, 16).size, 937703088U);
}

TEST_F(HealthyHost, DiskThatIsPulledOutIsMissingFromTheNextAnswer) {
    vesksim::Scenario scenario = host.driver().scenario();
    scenario.adapters.at(0).disks.erase(scenario.adapters.at(0).disks.begin());
    host.driver().update(scenario);
    Bytes answer = request(1, 0, 2 * 248);
    EXPECT_EQ(ZT_PD_GetHDInfo_Ext(0, asRequest(answer)), 0);
    EXPECT_EQ(answer[6], 1);
    EXPECT_EQ(recordAt<PD_Info>(answer, 16).deviceId, 1);
}

TEST_F(HealthyHost, HealthIsReadFreshEachTime) {
    SMART_INFO_ARRAY health;
    std::memset(&health, 0xEE, sizeof health);
    EXPECT_EQ(ZT_PD_GET_SMART_INFO(0, 0, 0, &health), 0);
    EXPECT_EQ(health.smartStatus, 0x4F);
    EXPECT_STREQ(health.attributes[0].name, "Percent Drive Life Remaining");
    EXPECT_EQ(health.attributes[0].currentValue, 2);
    EXPECT_EQ(health.attributes[1].currentValue, 100);
    EXPECT_EQ(health.attributes[1].thresholdValue, 10);
    vesksim::Scenario scenario = host.driver().scenario();
    scenario.adapters.at(0).disks.at(0).status = 0x21;
    scenario.adapters.at(0).disks.at(0).smart.percentageUsed = 250;
    host.driver().update(scenario);
    EXPECT_EQ(ZT_PD_GET_SMART_INFO(0, 0, 0, &health), 0);
    EXPECT_EQ(health.smartStatus, 1);
    EXPECT_EQ(health.attributes[0].currentValue, 250);
}

TEST_F(HealthyHost, LightBlinksUntilItIsStopped) {
    PD_OEM_Data data{};
    data.pdId = 1;
    data.ledStatus = 1;
    EXPECT_EQ(ZT_PD_OEMData(0, &data), 0);
    EXPECT_EQ(host.driver().locatingDisks("vmhba2"), std::vector<unsigned>{1});
    data.ledStatus = 0;
    EXPECT_EQ(ZT_PD_OEMData(0, &data), 0);
    EXPECT_TRUE(host.driver().locatingDisks("vmhba2").empty());
    EXPECT_TRUE(host.driver().refusals().empty());
}

TEST_F(HealthyHost, VirtualDiskIsTheMirror) {
    Bytes answer = request(1, 0, 2 * 312);
    EXPECT_EQ(ZT_LD_GetInfo(0, asRequest(answer)), 0);
    EXPECT_EQ(answer[6], 1);
    EXPECT_EQ(answer[8] + answer[9] * 256, 0xFFFF);
    const auto volume = recordAt<VD_Info>(answer, 16);
    EXPECT_EQ(volume.id, 0);
    EXPECT_EQ(volume.raidMode, 1);
    EXPECT_EQ(volume.hdCount, 2);
    EXPECT_EQ(volume.stripeBlockSize, 128);
    EXPECT_EQ(volume.size, 937570304U);
    EXPECT_EQ(std::string(volume.name).substr(0, 7), "VD_R1_1");
    EXPECT_EQ(ZT_LD_GetConfig(0, asRequest(answer)), 0);
    EXPECT_EQ(answer[6], 1);
    EXPECT_EQ(recordAt<VD_Config>(answer, 16).cacheMode, 0);
}

TEST_F(HealthyHost, UsedSpaceOfAMirrorIsItsSize) {
    CPhysicalDiskBuilder builder;
    builder.setPDId(1);
    unsigned long long used = 0;
    EXPECT_EQ(builder.getUsedSpaceForPDinVD(&used), 0);
    EXPECT_EQ(used, 937570304U);
    builder.setPDId(2);
    EXPECT_EQ(builder.getUsedSpaceForPDinVD(&used), 1);
    EXPECT_EQ(used, 937570304U);
}

TEST(DiskFlow, FailedCommandsReadAsEmptyDisksAndNoError) {
    SimHost host("commands-fail");
    ASSERT_EQ(host.start(), 1);
    Bytes answer = request(1, 0, 2 * 248);
    EXPECT_EQ(ZT_PD_GetHDInfo_Ext(0, asRequest(answer)), 0);
    EXPECT_EQ(answer[6], 2);
    EXPECT_EQ(recordAt<PD_Info>(answer, 16).size, 0U);
    EXPECT_EQ(recordAt<PD_Info>(answer, 16).hdType, 0x40);
}

TEST(DiskFlow, CallsWithoutAControllerReadAsEmptyDisks) {
    SimHost host("no-controller");
    ASSERT_EQ(host.start(), 0);
    host.driver().forgetHistory();
    Bytes answer = request(2, 1, 8);
    EXPECT_EQ(ZT_PD_GetConfig(0, asRequest(answer)), 0);
    EXPECT_EQ(Bytes(answer.begin() + 16, answer.end()), (Bytes{1, 1, 0, 3, 0, 0, 0, 0}));
    EXPECT_TRUE(host.driver().commands().empty());
}

TEST(DiskFlow, CallsBeforeSetUpAndAfterTearDownSendNothing) {
    SimHost host("healthy");
    Bytes answer = request(1, 0, 2 * 312);
    EXPECT_EQ(ZT_LD_GetInfo(0, asRequest(answer)), 0);
    EXPECT_EQ(answer[6], 2);
    EXPECT_TRUE(host.driver().commands().empty());
    ASSERT_EQ(host.start(), 1);
    host.stop();
    host.driver().forgetHistory();
    PD_OEM_Data data{};
    EXPECT_EQ(ZT_PD_OEMData(0, &data), 0);
    EXPECT_TRUE(host.driver().commands().empty());
}

// The error state is one for the process, but records must not mix.
TEST_F(HealthyHost, CallsOfTwoThreadsEachGetTheirAnswer) {
    const auto readDisk = [](std::uint8_t id) {
        for (int i = 0; i < 50; ++i) {
            Bytes answer = request(2, id, 248);
            EXPECT_EQ(ZT_PD_GetHDInfo_Ext(0, asRequest(answer)), 0);
            EXPECT_EQ(answer[6], 1);
            EXPECT_EQ(recordAt<PD_Info>(answer, 16).deviceId, id);
        }
    };
    std::thread other(readDisk, std::uint8_t{1});
    readDisk(0);
    other.join();
}

}  // namespace
