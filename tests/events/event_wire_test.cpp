// A poll as the driver sees it: the records of its reads, byte by byte.
#include "connected_talker.h"
#include "event_host.h"

#include "api/error_state.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace {

using vesktest::connectedRecord;
using vesktest::ConnectedTalker;
using vesktest::EventHost;
using vesktest::numbers;
using vesktest::Record;
using vesktest::Reply;
using vesktest::ScriptedDriver;
using vesktest::TracedHost;
using Numbers = std::vector<unsigned>;

struct PageOffsets {
    const char* page;
    const char* carry;
};

const PageOffsets kPages[16] = {
    {"00 00 00 00", "F8 0F 00 00"}, {"00 10 00 00", "F8 1F 00 00"}, {"00 20 00 00", "F8 2F 00 00"},
    {"00 30 00 00", "F8 3F 00 00"}, {"00 40 00 00", "F8 4F 00 00"}, {"00 50 00 00", "F8 5F 00 00"},
    {"00 60 00 00", "F8 6F 00 00"}, {"00 70 00 00", "F8 7F 00 00"}, {"00 80 00 00", "F8 8F 00 00"},
    {"00 90 00 00", "F8 9F 00 00"}, {"00 A0 00 00", "F8 AF 00 00"}, {"00 B0 00 00", "F8 BF 00 00"},
    {"00 C0 00 00", "F8 CF 00 00"}, {"00 D0 00 00", "F8 DF 00 00"}, {"00 E0 00 00", "F8 EF 00 00"},
    {"00 F0 00 00", "F8 FF 00 00"}};

// What both kinds of read have in common: opcode, dwords 10 and 12, direction, data length,
// timeout.
Record readRecord(const std::string& offset, const std::string& length) {
    return connectedRecord({{0, "E2"},
                            {40, "FF 03 00 00"},
                            {48, "FE 04 00 00"},
                            {52, offset},
                            {56, length},
                            {81, "01"},
                            {88, "00 10 00 00"},
                            {96, "80 84 1E 00 00 00 00 00"}});
}

Record pageRead(unsigned page) {
    return readRecord(kPages[page].page, "00 10 00 00");
}

Record carryRead(unsigned page) {
    return readRecord(kPages[page].carry, "10 00 00 00");
}

Reply reply(const std::vector<char>& bytes) {
    Reply result;
    result.bytes.assign(bytes.begin(), bytes.end());
    result.bufferSize = bytes.size();
    return result;
}

class EventWire : public ::testing::Test {
protected:
    ~EventWire() override {
        CEventBuilder::destroyEventsInEventsMap();
        CEventBuilder::destroyEventsMap();
    }

    TracedHost host;
    ScriptedDriver driver;
    ConnectedTalker connected{driver};
};

TEST_F(EventWire, SixteenPagesAreReadInOrderWithCarryReadsBehindThoseThatAreCut) {
    for (unsigned page = 0; page < 16; ++page) {
        const std::string line = "[SEQ]" + std::to_string(100 + page);
        if (page % 2 == 0) {
            driver.expectCommand(pageRead(page), reply(vesktest::eventPage(line + "\n")));
        } else {
            const std::vector<char> bytes = vesktest::pageEndingIn(line);
            driver.expectCommand(pageRead(page), reply(bytes));
            driver.expectCommand(carryRead(page), reply(vesktest::carryRead(bytes, "[TIME]5\n")));
        }
    }
    CEventBuilder().buidInfo(5);
    EXPECT_EQ(EventHost::collected(), numbers(100, 115));
    EXPECT_EQ((*CEventBuilder::events)[115]->timeStamp, 5U)
        << "also behind the sixteenth page, if something is there";
    EXPECT_EQ(driver.callCount(), 24U);
}

TEST_F(EventWire, NothingBehindThe16BytesOfACarryReadIsRead) {
    const std::vector<char> bytes = vesktest::pageEndingIn("[SEQ]7");
    driver.expectCommand(pageRead(0), reply(bytes));
    Reply carry = reply(vesktest::carryRead(bytes, "12345678"));
    const std::string behind = "\n[SEQ]9\n[SEQ]10\n";
    carry.bytes.insert(carry.bytes.end(), behind.begin(), behind.end());
    carry.bufferSize = 4096;
    driver.expectCommand(carryRead(0), carry);
    for (unsigned page = 1; page < 16; ++page) {
        driver.expectCommand(pageRead(page), reply(std::vector<char>(4096)));
    }
    CEventBuilder().buidInfo(5);
    EXPECT_EQ(EventHost::collected(), Numbers{});
}

TEST_F(EventWire, FailedReadsGiveNoRecordNoErrorAndNoEnd) {
    VeskNVMeLibrary_Error::setErrorCode(0);
    Reply failed;
    failed.resultCode = -5;
    Reply refused;
    refused.completionStatus = 0x000C;
    Reply throwing;
    throwing.hook = [] {
        throw std::runtime_error("driver fault");
    };
    driver.expectCommand(pageRead(0), reply(vesktest::eventPage("[SEQ]1\n")));
    for (unsigned page = 1; page < 15; ++page) {
        driver.expectCommand(pageRead(page),
                             page == 7 ? throwing : (page % 2 == 0 ? failed : refused));
    }
    driver.expectCommand(pageRead(15), reply(vesktest::eventPage("[SEQ]2\n")));
    CEventBuilder().buidInfo(5);
    EXPECT_EQ(EventHost::collected(), (Numbers{1, 2}));
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 0);
    EXPECT_EQ(
        vesktest::count(host.lines(), "EventParser:parseEventBuffer(): Current Event: [SEQ]1"), 1U)
        << "the reply of one page is not seen again behind a failed read";
}

}  // namespace
