// The builder behind commands 7 to 11, step by step.
#include "disk_rig.h"

#include "api/builder_type_factory.h"
#include "disks/pd_info_data.h"
#include "disks/physical_disk_builder.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

namespace {

using vesktest::Bytes;
using vesktest::bytesOf;
using vesktest::DiskRig;
using vesktest::LogLines;
using vesktest::request;

CPhysicalDisk* disksOf(CPhysicalDiskBuilder& builder) {
    return reinterpret_cast<CPhysicalDisk*>(builder.getObject());
}

TEST(PhysicalDiskBuilder, StartsWithNothingGathered) {
    CPhysicalDiskBuilder two;
    EXPECT_EQ(two.getActivePDCount(), 0);
    EXPECT_EQ(two.getPDId(), 0xFF);
    EXPECT_EQ(two.getRequestType(), 0xFF);
    ASSERT_NE(two.getObject(), nullptr);
    EXPECT_EQ(bytesOf(disksOf(two)[1].getPDInfoStruct()), Bytes(248, 0));
    CPhysicalDiskBuilder one(9U);
    EXPECT_EQ(one.getActivePDCount(), 0);
    EXPECT_EQ(one.getPDId(), 0xFF);
    EXPECT_EQ(one.getRequestType(), 0xFF);
    ASSERT_NE(one.getObject(), nullptr);
    EXPECT_EQ(bytesOf(disksOf(one)[0].getPDInfoStruct()), Bytes(248, 0));
}

TEST(PhysicalDiskBuilder, AccessorsStoreWhatTheyGet) {
    CPhysicalDiskBuilder builder;
    builder.setActivePDCount(200);
    builder.setPDId(201);
    builder.setRequestType(202);
    EXPECT_EQ(builder.getActivePDCount(), 200);
    EXPECT_EQ(builder.getPDId(), 201);
    EXPECT_EQ(builder.getRequestType(), 202);
}

TEST(PhysicalDiskBuilder, FactoryMakesOneForEachOfItsCommands) {
    for (const unsigned char id : Bytes{7, 8, 9, 10, 11}) {
        SCOPED_TRACE(int{id});
        const std::unique_ptr<IBuilder> builder(BuilderTypeFactory::getBuilder(id));
        EXPECT_NE(dynamic_cast<CPhysicalDiskBuilder*>(builder.get()), nullptr);
    }
}

TEST(PhysicalDiskBuilder, ParametersComeFromTheRequest) {
    for (const unsigned char command : Bytes{7, 8, 10, 11}) {
        SCOPED_TRACE(int{command});
        CPhysicalDiskBuilder builder;
        Bytes record = request(0x9A, 0xBC, 0);
        const Bytes before = record;
        builder.setSpecificParams(command, record.data());
        EXPECT_EQ(builder.getRequestType(), 0x9A);
        EXPECT_EQ(builder.getPDId(), 0xBC);
        EXPECT_EQ(record, before);
    }
}

TEST(PhysicalDiskBuilder, HealthTakesADiskIdOnly) {
    CPhysicalDiskBuilder builder(9U);
    unsigned char id = 0x77;
    builder.setSpecificParams(9, &id);
    EXPECT_EQ(builder.getPDId(), 0x77);
    EXPECT_EQ(builder.getRequestType(), 0xFF);
}

TEST(PhysicalDiskBuilder, OtherCommandsAreRefusedByEachStep) {
    DiskRig rig;
    CPhysicalDiskBuilder builder;
    for (const int command : {0, 1, 6, 12, 13, 16, 255}) {
        SCOPED_TRACE(command);
        rig.host.forgetLines();
        Bytes record = request(1, 1, 32);
        const Bytes before = record;
        builder.setSpecificParams(static_cast<unsigned char>(command), record.data());
        builder.buidInfo(command);
        builder.getSpecificObject(static_cast<unsigned int>(command), record.data());
        EXPECT_EQ(
            rig.messages(),
            (LogLines{"libVeskNvme: CPhysicalDiskBuilder::setSpecificParams(): Invalid Command ID",
                      "libVeskNvme: CPhysicalDiskBuilder::buidInfo(): Invalid command for PD",
                      "libVeskNvme: CPhysicalDiskBuilder::getSpecificObject: Invalid Command ID"}));
        EXPECT_EQ(record, before);
        EXPECT_EQ(builder.getPDId(), 0xFF);
        EXPECT_EQ(builder.getRequestType(), 0xFF);
        EXPECT_EQ(builder.getActivePDCount(), 0);
    }
    builder.buidInfo(-1);
    builder.buidInfo(263);
    EXPECT_EQ(rig.driver.callCount(), 0U);
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 0);
}

// The lines of one command, with what stands in front of " case" behind them.
LogLines framesOf(const DiskRig& rig) {
    LogLines frames;
    for (const std::string& line : rig.messages()) {
        if (line.size() > 5 && line.compare(line.size() - 5, 5, " case") == 0) {
            frames.push_back(line);
        }
    }
    return frames;
}

TEST(PhysicalDiskBuilder, FrameLinesAreUneven) {
    DiskRig rig;
    Bytes out(16 + 2404, 0);
    const auto run = [&](int command) {
        rig.host.forgetLines();
        CPhysicalDiskBuilder builder;
        builder.setRequestType(2);
        builder.setPDId(0);
        rig.expectDisk("00", vesktest::absentPage());
        if (command == 9) {
            rig.expectHealth("00", vesktest::healthPage());
        }
        builder.buidInfo(command);
        builder.getSpecificObject(static_cast<unsigned int>(command), out.data());
        return framesOf(rig);
    };
    const std::string built = "libVeskNvme: CPhysicalDiskBuilder::buidInfo(): ";
    const std::string given = "libVeskNvme: CPhysicalDiskBuilder::getSpecificObject(): ";
    EXPECT_EQ(run(7), (LogLines{built + "Start of PD_GetHDInfo_Ext case",
                                built + "End of PD_GetHDInfo_Ext case",
                                given + "Start of PD_GetHDInfo_Ext case",
                                given + "End of PD_GetHDInfo_Ext case"}));
    EXPECT_EQ(run(8),
              (LogLines{built + "Start of PD_GetConfig case", built + "End of PD_GetConfig case",
                        given + "Start of PD_GetConfig case"}));
    EXPECT_EQ(run(9), (LogLines{built + "Start of PD_GET_SMART_INFO case",
                                built + "Start of PD_GET_SMART_INFO case",
                                given + "Start of PD_GET_SMART_INFO case",
                                given + "End of PD_GET_SMART_INFO case"}));
    EXPECT_EQ(run(10), (LogLines{built + "Start of PD_GetHDRaidStatus case",
                                 built + "End of PD_GetHDRaidStatus case",
                                 given + "Start of PD_GetHDRaidStatus case",
                                 given + "End of PD_GetHDRaidStatus case"}));
    EXPECT_EQ(run(11), (LogLines{given + "Start of PD_GetFreeSpaceInfo case",
                                 given + "End of PD_GetFreeSpaceInfo case"}));
}

TEST(PhysicalDiskBuilder, CountGrowsByTheDisksThatExist) {
    DiskRig rig;
    CPhysicalDiskBuilder builder;
    builder.setRequestType(1);
    rig.expectDisk("00", vesktest::diskPage());
    rig.expectDisk("01", vesktest::secondDiskPage());
    IObject* const object = builder.getObject();
    builder.buidInfo(7);
    EXPECT_EQ(builder.getActivePDCount(), 2);
    EXPECT_EQ(builder.getPDId(), 1);
    EXPECT_EQ(builder.getObject(), object);
    EXPECT_EQ(bytesOf(disksOf(builder)[0].getPDInfoStruct()), vesktest::diskInfo());
    EXPECT_EQ(bytesOf(disksOf(builder)[1].getPDInfoStruct()), vesktest::secondDiskInfo());
}

TEST(PhysicalDiskBuilder, DeliveryFollowsTheCount) {
    CPhysicalDiskBuilder builder;
    Bytes out = request(1, 0, 2 * 248);
    const Bytes before = out;
    builder.getSpecificObject(7, out.data());
    EXPECT_EQ(out, vesktest::answered(before, {0, 0, 0xFF, 0xFF}, vesktest::kNone));
    builder.setActivePDCount(2);
    out = before;
    builder.getSpecificObject(8, out.data());
    EXPECT_EQ(out, vesktest::answered(before, {2, 0, 8, 0}, Bytes(16, 0)));
}

TEST(PhysicalDiskBuilder, OneDiskIsReadAsItsFirst112Bytes) {
    DiskRig rig;
    rig.expectDisk("05", vesktest::diskPage());
    CPhysicalDiskBuilder builder;
    builder.setPDId(5);
    Bytes out = vesktest::noise(sizeof(_PDInfoData), 43);
    void* const record = out.data();
    builder.getAttributesForOnePD(static_cast<_PDInfoData*>(record));
    const Bytes page = vesktest::diskPage();
    EXPECT_EQ(out, Bytes(page.begin(), page.begin() + 112));
    EXPECT_EQ(rig.messages(),
              (LogLines{"libVeskNvme: CPhysicalDiskBuilder::getAttributesForOnePD(): PD details: "
                        "ID: 4660",
                        "libVeskNvme: CPhysicalDiskBuilder::getAttributesForOnePD(): Model "
                        "Number: MODEL-0123456789-0123456789-0123456789-X"}));
    EXPECT_TRUE(rig.host.traced("CPhysicalDiskBuilder::getAttributesForOnePD()"));
}

TEST(PhysicalDiskBuilder, OperationsAreTraced) {
    DiskRig rig;
    {
        CPhysicalDiskBuilder builder;
        builder.setRequestType(0);
        builder.getPDInfo();
        builder.getPDConfig();
        builder.getRaidStatus();
        builder.getFreeSpaceInfo();
    }
    for (const char* const name :
         {"CPhysicalDiskBuilder()", "getPDInfo()", "getPDConfig()", "getRaidStatus()",
          "getFreeSpaceInfo()", "~CPhysicalDiskBuilder()"}) {
        EXPECT_TRUE(rig.host.traced(std::string("CPhysicalDiskBuilder::") + name)) << name;
    }
    rig.host.forgetLines();
    CPhysicalDiskBuilder one(11U);
    EXPECT_TRUE(rig.host.traced("CPhysicalDiskBuilder::CPhysicalDiskBuilder()"));
    rig.host.forgetLines();
    one.setPDId(1);
    one.getPDId();
    one.setRequestType(1);
    one.getRequestType();
    one.setActivePDCount(1);
    one.getActivePDCount();
    EXPECT_EQ(rig.host.lines(), LogLines{});
}

}  // namespace
