// The event record as an object: it holds what is copied into it as bytes, and nothing else.
#include "traced_host.h"

#include "VeskNvme.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <new>

namespace {

using vesktest::LogLines;
using vesktest::TracedHost;

using EventBytes = std::array<std::uint8_t, 64>;

EventBytes bytesOf(const CEvent& event) {
    EventBytes bytes{};
    std::memcpy(bytes.data(), &event, bytes.size());
    return bytes;
}

EventBytes filled(std::uint8_t value) {
    EventBytes bytes{};
    bytes.fill(value);
    return bytes;
}

TEST(EventRecord, ConstructorInitialisesNothing) {
    alignas(CEvent) EventBytes memory = filled(0xEE);
    auto* const event = new (memory.data()) CEvent;
    EXPECT_EQ(bytesOf(*event), filled(0xEE));
    event->~CEvent();
}

TEST(EventRecord, AccessorsUseTheirBytesAndNoOthersAndAreNotTraced) {
    TracedHost host;
    alignas(CEvent) EventBytes memory = filled(0xEE);
    auto* const event = new (memory.data()) CEvent;
    host.forgetLines();
    event->setClass(0x0201);
    event->setCode(0x0403);
    event->setSequenceNo(0xFD0F0E0D);
    EXPECT_EQ(event->getClass(), 0x0201);
    EXPECT_EQ(event->getCode(), 0x0403);
    EXPECT_EQ(event->getSequenceNo(), 0xFD0F0E0D);
    EXPECT_EQ(host.lines(), LogLines{});
    EventBytes expected = filled(0xEE);
    const std::uint8_t begin[] = {1,    2,    3,    4,    0xEE, 0xEE, 0xEE, 0xEE,
                                  0xEE, 0xEE, 0xEE, 0xEE, 0x0D, 0x0E, 0x0F, 0xFD};
    std::memcpy(expected.data(), begin, sizeof begin);
    EXPECT_EQ(bytesOf(*event), expected);
    event->~CEvent();
}

TEST(EventRecord, CopiesCarryNothing) {
    alignas(CEvent) EventBytes sourceMemory = filled(0x11);
    auto* const source = new (sourceMemory.data()) CEvent;
    alignas(CEvent) EventBytes memory = filled(0xEE);
    auto* const copy = new (memory.data()) CEvent(*source);
    EXPECT_EQ(bytesOf(*copy), filled(0xEE));
    EXPECT_EQ(&(*copy = *source), copy);
    EXPECT_EQ(bytesOf(*copy), filled(0xEE));
    EXPECT_EQ(bytesOf(*source), filled(0x11));
    copy->~CEvent();
    source->~CEvent();
}

TEST(EventRecord, LifeIsTraced) {
    TracedHost host;
    { CEvent event; }
    EXPECT_EQ(host.lines(), (LogLines{"CEvent::CEvent() ENTRY ", "CEvent::CEvent() EXIT ",
                                      "CEvent::~CEvent() ENTRY ", "CEvent::~CEvent() EXIT "}));
}

TEST(EventRecord, CopyConstructorAndAssignmentAreTracedWithTheirLabels) {
    TracedHost host;
    CEvent source;
    host.forgetLines();
    CEvent copy(source);
    EXPECT_EQ(host.lines(),
              (LogLines{"CEvent::CEvent()libVeskNvme: CEvent::CEvent(copyObject) ENTRY ",
                        "CEvent::CEvent()libVeskNvme: CEvent::CEvent(copyObject) EXIT "}));
    host.forgetLines();
    copy = source;
    const LogLines lines = host.lines();
    ASSERT_EQ(lines.size(), 2U);
    // In front the compiler may have put the sign of the return type.
    const std::string name = "CEvent::operator=()libVeskNvme: CEvent::operator=(copyObject)";
    EXPECT_TRUE(vesktest::containsPart({lines[0]}, name + " ENTRY "));
    EXPECT_TRUE(vesktest::containsPart({lines[1]}, name + " EXIT "));
}

}  // namespace
