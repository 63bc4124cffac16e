// The command that makes a disk's LED blink, by itself and through its exported call.
#include "disk_rig.h"
#include "memory_faults.h"
#include "recording_talker.h"

#include "disks/locate_pd_builder.h"

#include <gtest/gtest.h>

#include <new>
#include <type_traits>

namespace {

using vesktest::AllocationSize;
using vesktest::Bytes;
using vesktest::DiskRig;
using vesktest::FailMalloc;
using vesktest::FailNew;
using vesktest::LogLines;
using vesktest::RecordingTalker;
using vesktest::TracedHost;

static_assert(std::is_base_of_v<ICommandBuilder, CLocatePDBuilder>);

// Noise but for the two bytes that are read, and of no more than 17 bytes.
Bytes locateRequest(std::uint8_t pdId, std::uint8_t ledStatus) {
    Bytes bytes = vesktest::noise(17, 41);
    bytes[6] = pdId;
    bytes[16] = ledStatus;
    return bytes;
}

UCHAR_ locate(Bytes& bytes) {
    void* const record = bytes.data();
    return ZT_PD_OEMData(0, static_cast<PPD_OEM_Data>(record));
}

TEST(LocateCommand, DiskFiveIsDiskOne) {
    DiskRig rig;
    rig.driver.expectCommand(vesktest::locateCommand("01 00 02"));
    Bytes request = locateRequest(5, 1);
    const Bytes before = request;
    EXPECT_EQ(locate(request), 0);
    EXPECT_EQ(request, before);
    EXPECT_EQ(rig.messages(),
              (LogLines{"libVeskNVMe SUCESS: ERR_NONE ",
                        "libVeskNvme: CommandHandler::navigator(): Calling Identify_PD",
                        "Blink initiated for PD 1",
                        "libVeskNvme: CommandHandler::navigator(): end of Identify_PD"}));
}

TEST(LocateCommand, StopForDiskZeroHasATargetOfZero) {
    DiskRig rig;
    rig.driver.expectCommand(vesktest::locateCommand("00"));
    Bytes request = locateRequest(0, 0);
    EXPECT_EQ(locate(request), 0);
    EXPECT_EQ(rig.messages(),
              (LogLines{"libVeskNVMe SUCESS: ERR_NONE ",
                        "libVeskNvme: CommandHandler::navigator(): Calling Identify_PD",
                        "Blink ceased for PD 0",
                        "libVeskNvme: CommandHandler::navigator(): end of Identify_PD"}));
}

TEST(LocateCommand, AnyStatusButZeroStarts) {
    for (const std::uint8_t status : Bytes{1, 2, 0x80, 0xFF}) {
        SCOPED_TRACE(int{status});
        DiskRig rig;
        rig.driver.expectCommand(vesktest::locateCommand("00 00 02"));
        Bytes request = locateRequest(0, status);
        EXPECT_EQ(locate(request), 0);
        EXPECT_TRUE(vesktest::contains(rig.messages(), "Blink initiated for PD 0"));
    }
}

TEST(LocateCommand, TwoLowBitsOfTheIdAreUsed) {
    DiskRig rig;
    rig.driver.expectCommand(vesktest::locateCommand("03"));
    Bytes request = locateRequest(0xFF, 0);
    EXPECT_EQ(locate(request), 0);
    EXPECT_TRUE(vesktest::contains(rig.messages(), "Blink ceased for PD 3"));
}

TEST(LocateCommand, RefusedCommandIsNoError) {
    DiskRig rig;
    rig.driver.expectCommand(vesktest::locateCommand("01 00 02"), vesktest::refusal());
    Bytes request = locateRequest(1, 1);
    EXPECT_EQ(locate(request), 0);
}

TEST(LocateCommand, ReplyIsNotRead) {
    DiskRig rig;
    vesktest::Reply reply;
    reply.bytes = Bytes(4096, 0xFF);
    reply.bufferSize = 4096;
    rig.driver.expectCommand(vesktest::locateCommand("01 00 02"), reply);
    Bytes request = locateRequest(1, 1);
    EXPECT_EQ(locate(request), 0);
}

TEST(LocateCommand, BuildFillsTheSlots) {
    Bytes request = locateRequest(2, 9);
    CLocatePDBuilder builder(request.data());
    EXPECT_EQ(builder.buildCommand(), 0);
    CCommandDword& command = *builder.getLocatePDCommand();
    EXPECT_EQ(command.getcdw0(), 0xE2U);
    EXPECT_EQ(command.getcdw1(), 0U);
    EXPECT_EQ(command.getcdw2(), 0U);
    EXPECT_EQ(command.getcdw3(), 0U);
    EXPECT_EQ(command.getcdw_4_5(), nullptr);
    ASSERT_NE(command.getcdw_6_7(), nullptr);
    EXPECT_EQ(command.getcdw8(), 0U);
    EXPECT_EQ(command.getcdw9(), 0U);
    EXPECT_EQ(command.getcdw10(), 0U);
    EXPECT_EQ(command.getcdw11(), 0U);
    EXPECT_EQ(command.getcdw12(), 0x7E1U);
    EXPECT_EQ(command.getcdw13(), 0U);
    EXPECT_EQ(command.getcdw14(), 0x00020002U);
    EXPECT_EQ(command.getcdw15(), 0U);
    const auto* const bytes = static_cast<const std::uint8_t*>(command.getcdw_6_7());
    EXPECT_EQ(Bytes(bytes, bytes + 4096), Bytes(4096, 0));
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
    EXPECT_EQ(builder.buildCommand(), 0);
    EXPECT_EQ(builder.getLocatePDCommand()->getcdw14(), 3U);
}

TEST(LocateCommand, InheritedAccessorHandsOutNoRecord) {
    Bytes request = locateRequest(0, 0);
    CLocatePDBuilder builder(request.data());
    ICommandBuilder& base = builder;
    EXPECT_NE(builder.getLocatePDCommand(), nullptr);
    EXPECT_EQ(base.getCCommandDwordObject(), nullptr);
}

TEST(LocateCommand, IsTraced) {
    TracedHost host;
    {
        RecordingTalker talker;
        Bytes request = locateRequest(1, 0);
        CLocatePDBuilder builder(request.data());
        builder.buildCommand();
        builder.setdwIOCTLcode(7);
        builder.execute();
        EXPECT_EQ(talker.codes, std::vector<ULONG_INT>{1});
    }
    EXPECT_TRUE(host.traced("CLocatePDBuilder::CLocatePDBuilder()"));
    EXPECT_TRUE(host.traced("CLocatePDBuilder::buildCommand()"));
    EXPECT_TRUE(host.traced("CLocatePDBuilder::execute()"));
    EXPECT_TRUE(host.traced("CLocatePDBuilder::~CLocatePDBuilder()"));
    host.forgetLines();
    CLocatePDBuilder empty;
    EXPECT_TRUE(host.traced("CLocatePDBuilder::CLocatePDBuilder()"));
    host.forgetLines();
    empty.setPDId(0);
    empty.getPDId();
    empty.setPDLEDStatus(0);
    empty.getPDLEDStatus();
    empty.getLocatePDCommand();
    EXPECT_EQ(host.lines(), LogLines{});
}

TEST(LocateCommand, CallWithoutABufferFailsAndSendsWhatItHas) {
    DiskRig rig;
    rig.driver.expectCommand(
        vesktest::connectedRecord({{0, "E2"}, {96, "80 84 1E 00 00 00 00 00"}}, false));
    Bytes request = locateRequest(1, 1);
    {
        const FailMalloc fault(AllocationSize::exactly(4096));
        EXPECT_EQ(locate(request), 1);
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_FALSE(vesktest::containsPart(rig.messages(), "Blink"));
}

TEST(LocateCommand, WithoutItsBufferIsAFailure) {
    DiskRig rig;
    Bytes request = locateRequest(1, 1);
    CLocatePDBuilder builder(request.data());
    rig.host.forgetLines();
    {
        const FailMalloc fault(AllocationSize::exactly(4096));
        EXPECT_EQ(builder.buildCommand(), 1);
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(rig.messages(), (LogLines{"std::bad_alloc", "libVeskNVMe FAILED: ERR_FAIL "}));
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 1);
    EXPECT_EQ(builder.getLocatePDCommand()->getcdw0(), 0xE2U);
    EXPECT_EQ(builder.getLocatePDCommand()->getcdw_6_7(), nullptr);
    EXPECT_EQ(builder.getLocatePDCommand()->getcdw12(), 0U);
    EXPECT_EQ(builder.getLocatePDCommand()->getcdw14(), 0U);
}

TEST(LocateCommand, CallWithoutMemoryForTheRecordThrows) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    DiskRig rig;
    Bytes request = locateRequest(1, 1);
    {
        const FailNew fault(AllocationSize::exactly(sizeof(CCommandDword)));
        EXPECT_THROW(locate(request), std::bad_alloc);
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(rig.driver.callCount(), 0U);
    rig.driver.expectCommand(vesktest::locateCommand("01 00 02"));
    EXPECT_EQ(locate(request), 0);
}

TEST(LocateCommand, BuilderMadeWithoutArgumentsHasNoCommand) {
    RecordingTalker talker;
    CLocatePDBuilder builder;
    EXPECT_EQ(builder.getPDId(), 0);
    EXPECT_EQ(builder.getPDLEDStatus(), 0);
    EXPECT_EQ(builder.getLocatePDCommand(), nullptr);
    EXPECT_EQ(builder.buildCommand(), 1);
    builder.execute();
    EXPECT_TRUE(talker.commands.empty());
}

}  // namespace
