// The exported call that makes a disk's LED blink; its command by itself is in
// transport/command_builders_test.cpp.
#include "disk_rig.h"
#include "memory_faults.h"

#include <gtest/gtest.h>

#include <new>
#include <string>

namespace {

using namespace vesktest;

// Noise but for the two bytes that are read, and of no more than 17 bytes.
Bytes locateRequest(std::uint8_t pdId, std::uint8_t ledStatus) {
    Bytes bytes = noise(17, 41);
    bytes[6] = pdId;
    bytes[16] = ledStatus;
    return bytes;
}

UCHAR_ locate(Bytes& bytes) {
    void* const record = bytes.data();
    return ZT_PD_OEMData(0, static_cast<PPD_OEM_Data>(record));
}

struct Request {
    std::uint8_t pdId;
    std::uint8_t ledStatus;
    const char* target;  // as it is sent
    const char* line;
};

void expectLocated(const Request& now) {
    SCOPED_TRACE(std::to_string(now.pdId) + " " + std::to_string(now.ledStatus));
    DiskRig rig;
    // The reply is not read.
    Reply reply;
    reply.bufferSize = 4096;
    rig.driver.expectCommand(locateCommand(now.target), reply);
    Bytes request = locateRequest(now.pdId, now.ledStatus);
    const Bytes before = request;
    EXPECT_EQ(locate(request), 0);
    EXPECT_EQ(request, before);
    EXPECT_EQ(rig.messages(),
              (LogLines{"libVeskNVMe SUCESS: ERR_NONE ",
                        "libVeskNvme: CommandHandler::navigator(): Calling Identify_PD", now.line,
                        "libVeskNvme: CommandHandler::navigator(): end of Identify_PD"}));
}

TEST(LocateCommand, DiskFiveIsDiskOne) {
    expectLocated({5, 1, "01 00 02", "Blink initiated for PD 1"});
    expectLocated({0xFF, 0, "03", "Blink ceased for PD 3"});
}

TEST(LocateCommand, AnyStatusButZeroStarts) {
    expectLocated({0, 0, "00", "Blink ceased for PD 0"});
    for (const std::uint8_t status : Bytes{1, 2, 0x80, 0xFF}) {
        expectLocated({0, status, "00 00 02", "Blink initiated for PD 0"});
    }
}

TEST(LocateCommand, RefusedCommandIsNoError) {
    DiskRig rig;
    rig.driver.expectCommand(locateCommand("01 00 02"), refusal());
    Bytes request = locateRequest(1, 1);
    EXPECT_EQ(locate(request), 0);
}

TEST(LocateCommand, CallWithoutABufferFailsAndSendsWhatItHas) {
    DiskRig rig;
    rig.driver.expectCommand(connectedRecord({{0, "E2"}, {96, "80 84 1E 00 00 00 00 00"}}, false));
    Bytes request = locateRequest(1, 1);
    {
        const FailMalloc fault(AllocationSize::exactly(4096));
        EXPECT_EQ(locate(request), 1);
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_FALSE(containsPart(rig.messages(), "Blink"));
}

TEST(LocateCommand, CallWithoutMemoryForTheRecordThrows) {
    if (!kCanFailNew) {
        GTEST_SKIP() << kWhyNewCannotFail;
    }
    DiskRig rig;
    Bytes request = locateRequest(1, 1);
    {
        const FailNew fault(AllocationSize::exactly(sizeof(CCommandDword)));
        EXPECT_THROW(locate(request), std::bad_alloc);
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(rig.driver.callCount(), 0U);
    rig.driver.expectCommand(locateCommand("01 00 02"));
    EXPECT_EQ(locate(request), 0);
}

}  // namespace
