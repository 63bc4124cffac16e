// ZT_EVT_GetEvent and the dispatcher's command behind it.
#include "event_host.h"
#include "failing_calls.h"
#include "noise.h"
#include "owned_events.h"

#include "api/command_handler.h"
#include "api/error_state.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using vesktest::EventHost;
using vesktest::eventLines;
using vesktest::inOrder;
using vesktest::LogLines;

const char* const kMapping =
    "[PhysicalDevice]\n1=500\n2\n[EventSequenceNumber]\nSequenceNumber=0\n";

// A caller's array of noise, with room for one record more than the 64.
class CallersArray {
public:
    CallersArray() : m_before(vesktest::noise(65 * 64, 9)), m_bytes(65) {
        std::memcpy(m_bytes.data(), m_before.data(), m_before.size());
    }
    CEvent* get() { return static_cast<CEvent*>(static_cast<void*>(m_bytes.data())); }
    const _Event& operator[](std::size_t index) const { return m_bytes[index]; }
    // Whether the array is as it was from this record on.
    bool untouchedFrom(std::size_t index) const {
        return std::memcmp(&m_bytes[index], &m_before[index * 64], (65 - index) * 64) == 0;
    }

private:
    std::vector<std::uint8_t> m_before;
    std::vector<_Event> m_bytes;
};

TEST(EventCall, DeliversRecordsInOrderAndTheirNumber) {
    EventHost host(kMapping);
    host.poll("[SEQ]8[EVT_ID]1[MSG]PD_b_INFO\n[SEQ]7[EVT_ID]1[TIME]1000[DEV_ID]3[MSG]PD_a_FATAL\n");
    CallersArray array;
    UCHAR_ count = 0xA5;
    EXPECT_EQ(ZT_EVT_GetEvent(200, 77, &count, array.get()), 0) << "both numbers select nothing";
    EXPECT_EQ(count, 2);
    EXPECT_EQ(vesktest::fieldsOf(array[0]), "7 500 1000 3 2 7|a");
    EXPECT_EQ(vesktest::fieldsOf(array[1]), "8 500 0 0 2 2|b");
    EXPECT_TRUE(array.untouchedFrom(2));
}

TEST(EventCall, WithoutAnArrayReturns150AndDispatchesNothing) {
    EventHost host(kMapping);
    host.poll(eventLines(1, 1));
    host.host().forgetLines();
    UCHAR_ count = 0xA5;
    EXPECT_EQ(ZT_EVT_GetEvent(0, 0, &count, nullptr), 150);
    EXPECT_EQ(count, 0xA5);
    EXPECT_EQ(EventHost::collected(), (std::vector<unsigned>{1}));
    EXPECT_EQ(host.mapping(), kMapping);
    EXPECT_EQ(host.host().lines(),
              (LogLines{"ZT_EVT_GetEvent() ENTRY ", "libVeskNVMe FAILED: UNKOWN ERROR :%d 150",
                        "libVeskNvme: VeskNVMeLibrary::ZT_EVT_GetEvent pEvent is NULL",
                        "ZT_EVT_GetEvent() EXIT "}));
}

TEST(EventCall, BeforeTheFirstPollIsEmptyAndNoError) {
    EventHost host(kMapping);
    VeskNVMeLibrary_Error::setErrorCode(19);
    host.host().forgetLines();
    CallersArray array;
    UCHAR_ count = 0xA5;
    EXPECT_EQ(ZT_EVT_GetEvent(0, 0, &count, array.get()), 0);
    EXPECT_EQ(count, 0);
    EXPECT_TRUE(array.untouchedFrom(0));
    EXPECT_EQ(host.mapping(), kMapping);
    EXPECT_TRUE(inOrder(host.host().messages(),
                        {"CommandHandler::navigator(): EVT_GETEVENT: Event Vector size",
                         "VeskNVMeLibrary::ZT_EVT_GetEvent: Number of events returned = 0"}));
    const std::string raw = vesktest::LogFile(host.files()).raw();
    EXPECT_NE(raw.find("Event Vector size(T: "), std::string::npos)
        << "a count of zero cuts its line, together with its line feed";
}

TEST(EventCall, SixtyFourFitTheCountAndAreLoggedAsOneRawCharacter) {
    EventHost host(kMapping);
    host.area().putPage(0, eventLines(1, 70));
    host.poll();
    host.host().forgetLines();
    CallersArray array;
    UCHAR_ count = 0xA5;
    EXPECT_EQ(ZT_EVT_GetEvent(0, 0, &count, array.get()), 0);
    EXPECT_EQ(count, 64);
    EXPECT_EQ(array[0].sequenceNo, 1U);
    EXPECT_EQ(array[63].sequenceNo, 64U);
    EXPECT_TRUE(array.untouchedFrom(64));
    EXPECT_TRUE(inOrder(host.host().messages(),
                        {"CommandHandler::navigator(): EVT_GETEVENT: Event Vector size@",
                         "VeskNVMeLibrary::ZT_EVT_GetEvent: Number of events returned = 64",
                         "VeskNVMeLibrary::ZT_EVT_GetEvent: SequenceNo: 64"}));
}

TEST(EventCall, FailedMarkIsErrorOneWithTheRecordsDelivered) {
    EventHost host(kMapping);
    host.poll(eventLines(1, 2));
    CallersArray array;
    UCHAR_ count = 0xA5;
    {
        const vesktest::FailingCalls failing([](const char* function, const std::string& path) {
            return vesktest::isWriting(function) && path == vesktest::kMappingIniPath ? ENOSPC : 0;
        });
        EXPECT_EQ(ZT_EVT_GetEvent(0, 0, &count, array.get()), 1);
    }
    EXPECT_EQ(count, 2);
    EXPECT_EQ(array[1].sequenceNo, 2U);
    EXPECT_EQ(ZT_EVT_GetEvent(0, 0, &count, array.get()), 0) << "the same events once more";
    EXPECT_EQ(count, 2);
    EXPECT_EQ(ZT_EVT_GetEvent(0, 0, &count, array.get()), 0);
    EXPECT_EQ(count, 0);
}

TEST(EventCall, RowThatEndsWithItsKeyIsAFailureWithWhatCameBeforeIt) {
    EventHost host(kMapping);
    host.poll(eventLines(1, 2) + "[SEQ]3[EVT_ID]2[MSG]PD_event_INFO\n");
    CallersArray array;
    UCHAR_ count = 0xA5;
    EXPECT_EQ(ZT_EVT_GetEvent(0, 0, &count, array.get()), 1);
    EXPECT_TRUE(EventHost::unlocked());
    EXPECT_EQ(count, 2);
    EXPECT_EQ(array.get()[1].getSequenceNo(), 2U);
    EXPECT_TRUE(array.untouchedFrom(2));
    EXPECT_EQ(host.mapping(), kMapping);
}

TEST(EventCall, IsLoggedFromEntryToExit) {
    EventHost host(kMapping);
    host.poll(eventLines(7, 8));
    host.host().forgetLines();
    CallersArray array;
    UCHAR_ count = 0xA5;
    ZT_EVT_GetEvent(0, 0, &count, array.get());
    EXPECT_TRUE(inOrder(
        host.host().lines(),
        {"ZT_EVT_GetEvent() ENTRY ", "libVeskNVMe SUCESS: ERR_NONE ",
         "CommandHandler::navigator() ENTRY ",
         "libVeskNvme: CommandHandler::navigator(): Calling EVT_GETEVENT",
         "CEventBuilder::getObjectVector() ENTRY ", "CEventBuilder::getObjectVector() EXIT ",
         "CommandHandler::navigator(): EVT_GETEVENT: Event Vector size\x02",
         "CEventBuilder::~CEventBuilder() EXIT ", "CommandHandler::navigator() EXIT ",
         "VeskNVMeLibrary::ZT_EVT_GetEvent: Number of events returned = 2",
         "VeskNVMeLibrary::ZT_EVT_GetEvent: SequenceNo: 7",
         "VeskNVMeLibrary::ZT_EVT_GetEvent: Class: 2",
         "VeskNVMeLibrary::ZT_EVT_GetEvent: Code: 500",
         "VeskNVMeLibrary::ZT_EVT_GetEvent: SequenceNo: 8",
         "VeskNVMeLibrary::ZT_EVT_GetEvent: Class: 2",
         "VeskNVMeLibrary::ZT_EVT_GetEvent: Code: 500", "ZT_EVT_GetEvent() EXIT "}));
}

TEST(EventCall, DispatcherFillsCountAndArrayOfTheCommand) {
    EventHost host(kMapping);
    host.poll(eventLines(1, 3));
    CallersArray array;
    UCHAR_ adapter = 0;
    UCHAR_ second = 0;
    UCHAR_ count = 0xA5;
    ZTCommand command{};
    command.commandId = 6;
    command.arg1 = &adapter;
    command.arg2 = &second;
    command.arg3 = &count;
    command.arg4 = array.get();
    EXPECT_EQ(CommandHandler::navigator(command), 0);
    EXPECT_EQ(count, 3);
    EXPECT_EQ(array[2].sequenceNo, 3U);
    EXPECT_TRUE(array.untouchedFrom(3));
}

}  // namespace
