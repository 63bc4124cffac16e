// What the exported calls about physical disks and those about virtual disks do alike, and the
// builders behind them: one row for each call, the same rules for both kinds.
#include "disk_rig.h"
#include "memory_faults.h"

#include "api/builder_type_factory.h"
#include "disks/pd_info_data.h"
#include "disks/physical_disk_builder.h"
#include "disks/vd_info_data.h"
#include "disks/virtual_disk_builder.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace vesktest;

struct Call {
    const char* name;
    UCHAR_ (*call)(UCHAR_, PInfo_Request);
    int command;
    Bytes headerOfTwo;  // empty: answers for one disk only
    Bytes first;        // the record of each disk
    Bytes second;
    Bytes empty;  // of a disk whose page is zeros
    const char* complaint;
    int code;  // of a bad request type

    bool all() const { return !headerOfTwo.empty(); }
    std::size_t size() const { return first.size(); }
};

const Bytes kHeaderOfOne = {1, 0, 0xFF, 0xFF};
const Bytes kHeaderOfNone = {0, 0, 0xFF, 0xFF};

struct PhysicalDisks {
    static constexpr const char* kName = "PhysicalDisks";
    using Builder = CPhysicalDiskBuilder;
    using Page = _PDInfoData;
    static constexpr std::size_t kPageSize = 112;
    static constexpr const char* kClass = "CPhysicalDiskBuilder";
    static constexpr const char* kInvalidCommand = "Invalid command for PD";

    static std::vector<Call> calls() {
        return {
            {"information",
             ZT_PD_GetHDInfo_Ext,
             7,
             {2, 0, 248, 0},
             diskInfo(),
             secondDiskInfo(),
             with(with(Bytes(248, 0), 66, {0x40}), 184, {0x01}),
             "Invalid Request type for Get PD Info",
             1},
            {"configuration",
             ZT_PD_GetConfig,
             8,
             {2, 0, 8, 0},
             diskConfig(),
             secondDiskConfig(),
             {1, 1, 0, 3, 0, 0, 0, 0},
             "Invalid Request type for Get PD Config",
             1},
            {"raid status",
             ZT_PD_GetHDRaidStatus,
             10,
             {},
             {0x78, 0x56, 0, 0, 0x20, 0, 0, 0},
             {0x01, 0x01, 0, 0, 0x01, 0, 0, 0},
             Bytes(8, 0),
             "Invalid Request Type for Get Raid Status",
             6},
            // The second disk is online and has none.
            {"free space",
             ZT_PD_GetFreeSpaceInfo,
             11,
             {},
             {0x34, 0x12, 0, 0, 0x00, 0x02, 0, 0, 1, 2, 3, 4, 5, 6, 7, 8},
             {0x01, 0x00, 0, 0, 0x00, 0x10, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},
             Bytes(16, 0),
             "Invalid Request Type for getFreeSpaceInfo",
             6},
        };
    }
    static Bytes commands() { return {7, 8, 9, 10, 11}; }
    static Bytes commandsWithRequest() { return {7, 8, 10, 11}; }
    static std::vector<int> otherCommands() { return {0, 1, 6, 12, 13, 16, 255, 263, -1}; }
    static Bytes firstPage() { return diskPage(); }
    static Bytes secondPage() { return secondDiskPage(); }
    static Record sent(const std::string& id) { return diskInfoCommand(id); }
    static LogLines linesOfFirst() {
        return {"libVeskNvme: CPhysicalDiskBuilder::getAttributesForOnePD(): PD details: ID: 4660",
                "libVeskNvme: CPhysicalDiskBuilder::getAttributesForOnePD(): Model Number: "
                "MODEL-0123456789-0123456789-0123456789-X"};
    }
    static void readOne(Builder& builder, Page* page) { builder.getAttributesForOnePD(page); }
    static void setId(Builder& builder, unsigned char id) { builder.setPDId(id); }
    static unsigned idOf(Builder& builder) { return builder.getPDId(); }
    static void setCount(Builder& builder, unsigned char count) { builder.setActivePDCount(count); }
    static unsigned countOf(Builder& builder) { return builder.getActivePDCount(); }
    static Bytes infoOf(Builder& builder, std::size_t index) {
        return bytesOf(
            reinterpret_cast<CPhysicalDisk*>(builder.getObject())[index].getPDInfoStruct());
    }
};

struct VirtualDisks {
    static constexpr const char* kName = "VirtualDisks";
    using Builder = CVirtualDiskBuilder;
    using Page = _vdInfoData;
    static constexpr std::size_t kPageSize = 192;
    static constexpr const char* kClass = "CVirtualDiskBuilder";
    static constexpr const char* kInvalidCommand = "Invalid command for VD";

    static std::vector<Call> calls() {
        return {
            {"information",
             ZT_LD_GetInfo,
             12,
             {2, 0, 0x38, 0x01},
             volumeInfo(),
             secondVolumeInfo(),
             with(Bytes(312, 0), 8, {1}),
             "Invalid Request type for Get VD Info",
             1},
            {"configuration",
             ZT_LD_GetConfig,
             13,
             {2, 0, 24, 0},
             volumeConfig(),
             secondVolumeConfig(),
             with(Bytes(24, 0), 2, {1}),
             "Invalid Request type for Get VD Config",
             1},
        };
    }
    static Bytes commands() { return {12, 13, 16}; }
    static Bytes commandsWithRequest() { return {12, 13}; }
    static std::vector<int> otherCommands() { return {0, 1, 7, 11, 14, 255, 268, -1}; }
    static Bytes firstPage() { return volumePage(); }
    static Bytes secondPage() { return secondVolumePage(); }
    static Record sent(const std::string& id) { return volumeInfoCommand(id); }
    static LogLines linesOfFirst() {
        return {"libVeskNvme: CVirtualDiskBuilder::getAttributesForOneVD: VD details: ID: 1029",
                "libVeskNvme: CVirtualDiskBuilder::getAttributesForOneVD: LBA size: 1000001"};
    }
    static void readOne(Builder& builder, Page* page) { builder.getAttributesForOneVD(page); }
    static void setId(Builder& builder, unsigned char id) { builder.setVDId(id); }
    static unsigned idOf(Builder& builder) { return builder.getVDId(); }
    static void setCount(Builder& builder, unsigned char count) { builder.setActiveVDCount(count); }
    static unsigned countOf(Builder& builder) { return builder.getActiveVDCount(); }
    static Bytes infoOf(Builder& builder, std::size_t index) {
        return bytesOf(
            reinterpret_cast<CVirtualDisk*>(builder.getObject())[index].getVDInfoStruct());
    }
};

struct DiskNames {
    template <typename Disks>
    static std::string GetName(int) {
        return Disks::kName;
    }
};

using BothKinds = ::testing::Types<PhysicalDisks, VirtualDisks>;

template <typename Disks>
class EachDiskKind : public ::testing::Test {
protected:
    void expectPage(const std::string& id, const Bytes& page) {
        Reply reply;
        reply.bytes = page;
        reply.bufferSize = page.size();
        rig.driver.expectCommand(Disks::sent(id), reply);
    }
    void expectRefusal(const std::string& id) {
        rig.driver.expectCommand(Disks::sent(id), refusal());
    }
    void expectBoth() {
        expectPage("00", Disks::firstPage());
        expectPage("01", Disks::secondPage());
    }

    // Makes the call on a record that was used before, and looks at its result and at all bytes of
    // the record. The adapter's id selects nothing.
    void expectAnswer(const Call& now, std::uint8_t type, std::uint8_t id, int result,
                      const Bytes& header, const Bytes& records) {
        SCOPED_TRACE(now.name);
        Bytes record = request(type, id, 2 * now.size() + 32);
        const Bytes before = record;
        EXPECT_EQ(now.call(200, asRequest(record)), result);
        EXPECT_EQ(record, answered(before, header, records));
    }
    void expectAnswerOfAll(const Call& now, const Bytes& header, const Bytes& records) {
        expectAnswer(now, 1, 0xEE, 0, header, records);
    }
    void expectAnswerOfOne(const Call& now, std::uint8_t id, const Bytes& record) {
        expectAnswer(now, 2, id, 0, kHeaderOfOne, record);
    }

    DiskRig rig;
};
TYPED_TEST_SUITE(EachDiskKind, BothKinds, DiskNames);

TYPED_TEST(EachDiskKind, RecordsOfAllDisksArePackedInRisingOrder) {
    const Bytes absent = absentPage();
    for (const Call& now : TypeParam::calls()) {
        if (!now.all()) {
            continue;
        }
        this->expectBoth();
        this->expectAnswerOfAll(now, now.headerOfTwo, joined(now.first, now.second));
        this->expectPage("00", absent);
        this->expectPage("01", TypeParam::secondPage());
        this->expectAnswerOfAll(now, kHeaderOfOne, now.second);
        this->expectPage("00", TypeParam::firstPage());
        this->expectPage("01", absent);
        this->expectAnswerOfAll(now, kHeaderOfOne, now.first);
        this->expectPage("00", absent);
        this->expectPage("01", with(absent, 4, {0xFF}));
        this->expectAnswerOfAll(now, kHeaderOfNone, kNone);
    }
}

TYPED_TEST(EachDiskKind, SingleRequestAsksForTheNamedDiskOnlyAndEachTimeAgain) {
    for (const Call& now : TypeParam::calls()) {
        this->expectPage("07", TypeParam::firstPage());
        this->expectAnswerOfOne(now, 7, now.first);
        this->expectPage("07", TypeParam::secondPage());
        this->expectAnswerOfOne(now, 7, now.second);
        this->expectPage("FF", TypeParam::firstPage());
        this->expectAnswerOfOne(now, 0xFF, now.first);
        this->expectPage("01", absentPage());
        this->expectAnswer(now, 2, 1, 0, kHeaderOfNone, kNone);
    }
}

TYPED_TEST(EachDiskKind, BadRequestTypeIsRefusedAndItsCodeIsGoneAtTheNextCall) {
    for (const Call& now : TypeParam::calls()) {
        for (const std::uint8_t type : now.all() ? Bytes{0, 3, 0xFF} : Bytes{0, 1, 3, 0xFF}) {
            SCOPED_TRACE(int{type});
            this->rig.host.forgetLines();
            this->expectAnswer(now, type, 0, now.code, kHeaderOfNone, kNone);
            const char* const codeLine = now.code == 1 ? "libVeskNVMe FAILED: ERR_FAIL "
                                                       : "libVeskNVMe FAILED: ERR_INVALID_REQUEST ";
            EXPECT_TRUE(inOrder(this->rig.messages(), {now.complaint, codeLine}));
            EXPECT_EQ(count(this->rig.messages(), now.complaint), 1U);
        }
        EXPECT_EQ(this->rig.driver.callCount(), 0U);
    }
    const Call last = TypeParam::calls().back();
    this->expectPage("00", TypeParam::firstPage());
    this->expectAnswerOfOne(last, 0, last.first);
}

// Also one that the driver fails by an exception, and one that there is no memory to send.
TYPED_TEST(EachDiskKind, RefusedCommandReadsAsAPresentDiskOfZeros) {
    for (const Call& now : TypeParam::calls()) {
        if (now.all()) {
            this->expectRefusal("00");
            this->expectPage("01", TypeParam::secondPage());
            this->expectAnswerOfAll(now, now.headerOfTwo, joined(now.empty, now.second));
        }
        this->expectRefusal("01");
        this->expectAnswerOfOne(now, 1, now.empty);
        Reply reply;
        reply.hook = [] {
            throw std::runtime_error("driver fault");
        };
        this->rig.driver.expectCommand(TypeParam::sent("01"), reply);
        this->expectAnswerOfOne(now, 1, now.empty);
        const FailMalloc fault(AllocationSize::exactly(24));
        this->expectAnswerOfOne(now, 1, now.empty);
        EXPECT_TRUE(fault.triggered());
    }
}

TYPED_TEST(EachDiskKind, WithoutAWorkingRecordNothingIsAsked) {
    for (const Call& now : TypeParam::calls()) {
        this->rig.host.forgetLines();
        const FailMalloc fault(AllocationSize::exactly(TypeParam::kPageSize));
        this->expectAnswer(now, 2, 1, 1, kHeaderOfNone, kNone);
        EXPECT_TRUE(fault.triggered());
        EXPECT_TRUE(
            inOrder(this->rig.messages(), {"std::bad_alloc", "libVeskNVMe FAILED: ERR_FAIL "}));
    }
    EXPECT_EQ(this->rig.driver.callCount(), 0U);
}

TYPED_TEST(EachDiskKind, DiskWhoseCommandHasNoBufferIsLeftOut) {
    for (const Call& now : TypeParam::calls()) {
        const FailMalloc fault(AllocationSize::exactly(4096));
        this->expectAnswer(now, 2, 1, 1, kHeaderOfNone, kNone);
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(this->rig.driver.callCount(), 0U);
    for (const Call& now : TypeParam::calls()) {
        if (!now.all()) {
            continue;
        }
        this->expectPage("01", TypeParam::secondPage());
        {
            const FailMalloc fault(AllocationSize::exactly(4096));
            this->expectAnswer(now, 1, 0, 1, kHeaderOfOne, now.second);
            EXPECT_TRUE(fault.triggered());
        }
        this->expectPage("00", TypeParam::firstPage());
        const FailMalloc fault(AllocationSize::exactly(4096), 2);
        this->expectAnswer(now, 1, 0, 1, kHeaderOfOne, now.first);
        EXPECT_TRUE(fault.triggered());
    }
}

TYPED_TEST(EachDiskKind, BuilderThatCannotBeMadeIsAFailureAndWritesNothing) {
    if (!kCanFailNew) {
        GTEST_SKIP() << kWhyNewCannotFail;
    }
    for (const Call& now : TypeParam::calls()) {
        SCOPED_TRACE(now.name);
        this->rig.host.forgetLines();
        Bytes record = request(2, 1, now.size());
        const Bytes before = record;
        {
            const FailNew fault(AllocationSize::exactly(sizeof(typename TypeParam::Builder)));
            EXPECT_EQ(now.call('A', asRequest(record)), 1);
            EXPECT_TRUE(fault.triggered());
        }
        EXPECT_EQ(record, before);
        EXPECT_TRUE(
            inOrder(this->rig.messages(), {"std::bad_alloc", "libVeskNVMe FAILED: ERR_FAIL "}));
    }
    EXPECT_EQ(this->rig.driver.callCount(), 0U);
}

template <typename Disks>
class EachDiskBuilder : public EachDiskKind<Disks> {
protected:
    static Bytes read(typename Disks::Builder& builder) {
        Bytes out = noise(Disks::kPageSize, 43);
        void* const page = out.data();
        Disks::readOne(builder, static_cast<typename Disks::Page*>(page));
        return out;
    }

    typename Disks::Builder builder;
};
TYPED_TEST_SUITE(EachDiskBuilder, BothKinds, DiskNames);

TYPED_TEST(EachDiskBuilder, StartsWithNothingGatheredAndStoresWhatItGets) {
    EXPECT_EQ(TypeParam::countOf(this->builder), 0U);
    EXPECT_EQ(TypeParam::idOf(this->builder), 0xFFU);
    EXPECT_EQ(this->builder.getRequestType(), 0xFF);
    ASSERT_NE(this->builder.getObject(), nullptr);
    const Bytes zeros(TypeParam::calls().front().size(), 0);
    EXPECT_EQ(TypeParam::infoOf(this->builder, 0), zeros);
    EXPECT_EQ(TypeParam::infoOf(this->builder, 1), zeros);
    this->rig.host.forgetLines();
    TypeParam::setCount(this->builder, 200);
    TypeParam::setId(this->builder, 201);
    this->builder.setRequestType(202);
    EXPECT_EQ(TypeParam::countOf(this->builder), 200U);
    EXPECT_EQ(TypeParam::idOf(this->builder), 201U);
    EXPECT_EQ(this->builder.getRequestType(), 202);
    EXPECT_EQ(this->rig.host.lines(), LogLines{}) << "accessors are not traced";
}

TYPED_TEST(EachDiskBuilder, FactoryMakesOneForEachOfItsCommands) {
    for (const unsigned char id : TypeParam::commands()) {
        SCOPED_TRACE(int{id});
        const std::unique_ptr<IBuilder> made(BuilderTypeFactory::getBuilder(id));
        EXPECT_NE(dynamic_cast<typename TypeParam::Builder*>(made.get()), nullptr);
    }
}

TYPED_TEST(EachDiskBuilder, ParametersComeFromTheRequest) {
    for (const unsigned char command : TypeParam::commandsWithRequest()) {
        SCOPED_TRACE(int{command});
        typename TypeParam::Builder fresh;
        Bytes record = request(0x9A, 0xBC, 0);
        const Bytes before = record;
        fresh.setSpecificParams(command, record.data());
        EXPECT_EQ(fresh.getRequestType(), 0x9A);
        EXPECT_EQ(TypeParam::idOf(fresh), 0xBCU);
        EXPECT_EQ(record, before);
    }
}

TYPED_TEST(EachDiskBuilder, OtherCommandsAreRefusedByEachStep) {
    const std::string prefix = std::string("libVeskNvme: ") + TypeParam::kClass + "::";
    for (const int command : TypeParam::otherCommands()) {
        SCOPED_TRACE(command);
        this->rig.host.forgetLines();
        Bytes record = request(1, 1, 32);
        const Bytes before = record;
        if (command >= 0 && command <= 255) {
            this->builder.setSpecificParams(static_cast<unsigned char>(command), record.data());
            EXPECT_EQ(this->rig.messages(),
                      LogLines{prefix + "setSpecificParams(): Invalid Command ID"});
            this->rig.host.forgetLines();
        }
        this->builder.buidInfo(command);
        this->builder.getSpecificObject(static_cast<unsigned int>(command), record.data());
        EXPECT_EQ(this->rig.messages(),
                  (LogLines{prefix + "buidInfo(): " + TypeParam::kInvalidCommand,
                            prefix + "getSpecificObject: Invalid Command ID"}));
        EXPECT_EQ(record, before);
        EXPECT_EQ(TypeParam::idOf(this->builder), 0xFFU);
        EXPECT_EQ(this->builder.getRequestType(), 0xFF);
        EXPECT_EQ(TypeParam::countOf(this->builder), 0U);
    }
    EXPECT_EQ(this->rig.driver.callCount(), 0U);
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 0);
}

TYPED_TEST(EachDiskBuilder, CountGrowsByTheDisksThatExistAndDeliveryFollowsIt) {
    const Call information = TypeParam::calls()[0];
    const Call configuration = TypeParam::calls()[1];
    Bytes out = request(1, 1, 2 * information.size());
    const Bytes before = out;
    this->builder.getSpecificObject(static_cast<unsigned>(information.command), out.data());
    EXPECT_EQ(out, answered(before, kHeaderOfNone, kNone));

    this->expectBoth();
    const IObject* const object = this->builder.getObject();
    this->builder.setRequestType(1);
    this->builder.buidInfo(information.command);
    EXPECT_EQ(TypeParam::countOf(this->builder), 2U);
    EXPECT_EQ(TypeParam::idOf(this->builder), 1U);
    EXPECT_EQ(this->builder.getObject(), object);
    EXPECT_EQ(TypeParam::infoOf(this->builder, 0), information.first);
    EXPECT_EQ(TypeParam::infoOf(this->builder, 1), information.second);
    // No configuration was gathered.
    out = before;
    this->builder.getSpecificObject(static_cast<unsigned>(configuration.command), out.data());
    EXPECT_EQ(out, answered(before, configuration.headerOfTwo, Bytes(2 * configuration.size(), 0)));
}

TYPED_TEST(EachDiskBuilder, OneDiskIsReadAsTheFirstBytesOfItsPage) {
    this->expectPage("05", TypeParam::firstPage());
    TypeParam::setId(this->builder, 5);
    this->rig.host.forgetLines();
    const Bytes page = TypeParam::firstPage();
    EXPECT_EQ(this->read(this->builder), Bytes(page.begin(), page.begin() + TypeParam::kPageSize));
    EXPECT_EQ(this->rig.messages(), TypeParam::linesOfFirst());
}

TYPED_TEST(EachDiskBuilder, RecordStaysAsItIsWhereTheCommandCouldNotBeBuilt) {
    const FailMalloc fault(AllocationSize::exactly(4096));
    EXPECT_EQ(this->read(this->builder), noise(TypeParam::kPageSize, 43));
    EXPECT_TRUE(fault.triggered());
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 1);
}

TEST(PhysicalDiskCalls, BadRequestTypeHasTwoCodes) {
    DiskRig rig;
    Bytes record = request(3, 0, 248);
    EXPECT_EQ(ZT_PD_GetHDInfo_Ext(0, asRequest(record)), 1);
    EXPECT_EQ(ZT_PD_GetConfig(0, asRequest(record)), 1);
    EXPECT_EQ(ZT_PD_GetHDRaidStatus(0, asRequest(record)), 6);
    EXPECT_EQ(ZT_PD_GetFreeSpaceInfo(0, asRequest(record)), 6);
}

TEST(PhysicalDiskBuilder, HealthTakesADiskIdOnly) {
    CPhysicalDiskBuilder builder(9U);
    EXPECT_EQ(builder.getActivePDCount(), 0);
    EXPECT_EQ(builder.getPDId(), 0xFF);
    EXPECT_EQ(PhysicalDisks::infoOf(builder, 0), Bytes(248, 0));
    unsigned char id = 0x77;
    builder.setSpecificParams(9, &id);
    EXPECT_EQ(builder.getPDId(), 0x77);
    EXPECT_EQ(builder.getRequestType(), 0xFF);
}

TEST(VirtualDiskBuilder, SpaceCommandTakesNoParameters) {
    DiskRig rig;
    CVirtualDiskBuilder builder;
    rig.host.forgetLines();
    Bytes record = request(1, 1, 0);
    builder.setSpecificParams(16, record.data());
    EXPECT_EQ(builder.getVDId(), 0xFF);
    EXPECT_EQ(builder.getRequestType(), 0xFF);
    EXPECT_EQ(rig.messages(),
              LogLines{"libVeskNvme: CVirtualDiskBuilder::setSpecificParams(): Invalid Command "
                       "ID"});
}

}  // namespace
