// The builder behind commands 12, 13 and 16, step by step.
#include "disk_rig.h"

#include "api/builder_type_factory.h"
#include "disks/vd_info_data.h"
#include "disks/virtual_disk_builder.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using vesktest::Bytes;
using vesktest::bytesOf;
using vesktest::DiskRig;
using vesktest::LogLines;
using vesktest::request;

CVirtualDisk* disksOf(CVirtualDiskBuilder& builder) {
    return reinterpret_cast<CVirtualDisk*>(builder.getObject());
}

TEST(VirtualDiskBuilder, StartsWithNothingGathered) {
    CVirtualDiskBuilder builder;
    EXPECT_EQ(builder.getActiveVDCount(), 0);
    EXPECT_EQ(builder.getVDId(), 0xFF);
    EXPECT_EQ(builder.getRequestType(), 0xFF);
    ASSERT_NE(builder.getObject(), nullptr);
    EXPECT_EQ(bytesOf(disksOf(builder)[0].getVDInfoStruct()), Bytes(312, 0));
    EXPECT_EQ(bytesOf(disksOf(builder)[1].getVDConfigStruct()), Bytes(24, 0));
    builder.setActiveVDCount(200);
    builder.setVDId(201);
    builder.setRequestType(202);
    EXPECT_EQ(builder.getActiveVDCount(), 200);
    EXPECT_EQ(builder.getVDId(), 201);
    EXPECT_EQ(builder.getRequestType(), 202);
}

TEST(VirtualDiskBuilder, FactoryMakesOneForEachOfItsCommands) {
    for (const unsigned char id : Bytes{12, 13, 16}) {
        SCOPED_TRACE(int{id});
        const std::unique_ptr<IBuilder> builder(BuilderTypeFactory::getBuilder(id));
        EXPECT_NE(dynamic_cast<CVirtualDiskBuilder*>(builder.get()), nullptr);
    }
}

TEST(VirtualDiskBuilder, ParametersComeFromTheRequest) {
    for (const unsigned char command : Bytes{12, 13}) {
        SCOPED_TRACE(int{command});
        DiskRig rig;
        CVirtualDiskBuilder builder;
        rig.host.forgetLines();
        Bytes record = request(0x9A, 0xBC, 0);
        const Bytes before = record;
        builder.setSpecificParams(command, record.data());
        EXPECT_EQ(builder.getRequestType(), 0x9A);
        EXPECT_EQ(builder.getVDId(), 0xBC);
        EXPECT_EQ(record, before);
        EXPECT_EQ(rig.messages(),
                  (LogLines{"libVeskNvme: CVirtualDiskBuilder::setSpecificParams(): Start of "
                            "LD_GetInfo / LD_GetConfig case",
                            "libVeskNvme: CVirtualDiskBuilder::setSpecificParams(): End of "
                            "LD_GetInfo / LD_GetConfig case"}));
        EXPECT_TRUE(rig.host.traced("CVirtualDiskBuilder::setSpecificParams()"));
    }
}

TEST(VirtualDiskBuilder, OtherCommandsAreRefusedByEachStep) {
    DiskRig rig;
    CVirtualDiskBuilder builder;
    for (const int command : {0, 1, 7, 11, 14, 255}) {
        SCOPED_TRACE(command);
        rig.host.forgetLines();
        Bytes record = request(1, 1, 32);
        const Bytes before = record;
        builder.setSpecificParams(static_cast<unsigned char>(command), record.data());
        builder.buidInfo(command);
        builder.getSpecificObject(static_cast<unsigned int>(command), record.data());
        EXPECT_EQ(
            rig.messages(),
            (LogLines{"libVeskNvme: CVirtualDiskBuilder::setSpecificParams(): Invalid Command ID",
                      "libVeskNvme: CVirtualDiskBuilder::buidInfo(): Invalid command for VD",
                      "libVeskNvme: CVirtualDiskBuilder::getSpecificObject: Invalid Command ID"}));
        EXPECT_EQ(record, before);
        EXPECT_EQ(builder.getVDId(), 0xFF);
        EXPECT_EQ(builder.getRequestType(), 0xFF);
        EXPECT_EQ(builder.getActiveVDCount(), 0);
    }
    EXPECT_EQ(rig.driver.callCount(), 0U);
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 0);
}

TEST(VirtualDiskBuilder, SpaceCommandTakesNoParameters) {
    DiskRig rig;
    CVirtualDiskBuilder builder;
    rig.host.forgetLines();
    Bytes record = request(1, 1, 0);
    builder.setSpecificParams(16, record.data());
    EXPECT_EQ(builder.getVDId(), 0xFF);
    EXPECT_EQ(rig.messages(),
              LogLines{"libVeskNvme: CVirtualDiskBuilder::setSpecificParams(): Invalid Command "
                       "ID"});
}

TEST(VirtualDiskBuilder, CommandsCloseWithASecondStartLine) {
    DiskRig rig;
    for (const int command : {12, 13}) {
        SCOPED_TRACE(command);
        CVirtualDiskBuilder builder;
        builder.setRequestType(2);
        builder.setVDId(0);
        rig.expectVolume("00", vesktest::secondVolumePage());
        rig.host.forgetLines();
        builder.buidInfo(command);
        const std::string frame =
            command == 12 ? "libVeskNvme: CVirtualDiskBuilder::buidInfo(): Start of LD_GetInfo case"
                          : "libVeskNvme: CVirtualDiskBuilder::buidInfo(): Start of LD_GetConfig "
                            "case";
        EXPECT_EQ(
            rig.messages(),
            (LogLines{frame,
                      "libVeskNvme: CVirtualDiskBuilder::getAttributesForOneVD: VD details: ID: 1",
                      "libVeskNvme: CVirtualDiskBuilder::getAttributesForOneVD: LBA size: 1000000",
                      frame}));
    }
}

TEST(VirtualDiskBuilder, CountGrowsByTheDisksThatExist) {
    DiskRig rig;
    CVirtualDiskBuilder builder;
    builder.setRequestType(1);
    rig.expectVolume("00", vesktest::volumePage());
    rig.expectVolume("01", vesktest::secondVolumePage());
    builder.buidInfo(12);
    EXPECT_EQ(builder.getActiveVDCount(), 2);
    EXPECT_EQ(builder.getVDId(), 1);
    EXPECT_EQ(bytesOf(disksOf(builder)[0].getVDInfoStruct()), vesktest::volumeInfo());
    EXPECT_EQ(bytesOf(disksOf(builder)[1].getVDInfoStruct()), vesktest::secondVolumeInfo());
    Bytes out = request(1, 0, 2 * 24);
    const Bytes before = out;
    builder.getSpecificObject(13, out.data());
    EXPECT_EQ(out, vesktest::answered(before, {2, 0, 24, 0}, Bytes(48, 0)));
}

TEST(VirtualDiskBuilder, OneDiskIsReadAsItsFirst192Bytes) {
    DiskRig rig;
    rig.expectVolume("05", vesktest::volumePage());
    CVirtualDiskBuilder builder;
    builder.setVDId(5);
    Bytes out = vesktest::noise(sizeof(_vdInfoData), 43);
    void* const record = out.data();
    builder.getAttributesForOneVD(static_cast<_vdInfoData*>(record));
    const Bytes page = vesktest::volumePage();
    EXPECT_EQ(out, Bytes(page.begin(), page.begin() + 192));
    EXPECT_TRUE(rig.host.traced("CVirtualDiskBuilder::getAttributesForOneVD()"));
}

TEST(VirtualDiskBuilder, OperationsAreTraced) {
    DiskRig rig;
    {
        CVirtualDiskBuilder builder;
        builder.setRequestType(0);
        builder.getVDInfo();
        builder.getVDConfig();
        builder.buidInfo(0);
        builder.getSpecificObject(0, nullptr);
        rig.expectVolume("00", vesktest::absentPage());
        rig.expectVolume("01", vesktest::absentPage());
        builder.getUsedRaidSpacePerPDInVD();
    }
    for (const char* const name :
         {"CVirtualDiskBuilder()", "getVDInfo()", "getVDConfig()", "buidInfo()",
          "getSpecificObject()", "getUsedRaidSpacePerPDInVD()", "~CVirtualDiskBuilder()"}) {
        EXPECT_TRUE(rig.host.traced(std::string("CVirtualDiskBuilder::") + name)) << name;
    }
    CVirtualDiskBuilder builder;
    rig.host.forgetLines();
    builder.setVDId(1);
    builder.getVDId();
    builder.setRequestType(1);
    builder.getRequestType();
    builder.setActiveVDCount(1);
    builder.getActiveVDCount();
    EXPECT_EQ(rig.host.lines(), LogLines{});
}

}  // namespace
