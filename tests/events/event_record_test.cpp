// The event record as an object: it holds what is copied into it as bytes, and nothing else.
#include "traced_host.h"

#include "VeskNvme.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <new>
#include <string>
#include <type_traits>

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

// In the prefix of a name the compiler may have put a return type's sign.
bool hasLineEnding(const LogLines& lines, const std::string& end) {
    for (const std::string& line : lines) {
        if (line.size() >= end.size() &&
            line.compare(line.size() - end.size(), end.size(), end) == 0) {
            return true;
        }
    }
    return false;
}

TEST(EventRecord, Is64PlainBytes) {
    EXPECT_EQ(sizeof(CEvent), 64U);
    EXPECT_FALSE(std::is_polymorphic_v<CEvent>);
}

TEST(EventRecord, ConstructorInitialisesNothing) {
    alignas(CEvent) EventBytes memory = filled(0xEE);
    auto* const event = new (memory.data()) CEvent;
    EXPECT_EQ(bytesOf(*event), filled(0xEE));
    event->~CEvent();
}

TEST(EventRecord, AccessorsUseTheirBytesAndNoOthers) {
    alignas(CEvent) EventBytes memory{};
    auto* const event = new (memory.data()) CEvent;
    std::memset(static_cast<void*>(event), 0, 64);
    event->setClass(0x0201);
    EventBytes expected{};
    expected[0] = 1;
    expected[1] = 2;
    EXPECT_EQ(bytesOf(*event), expected);
    event->setCode(0x0403);
    expected[2] = 3;
    expected[3] = 4;
    EXPECT_EQ(bytesOf(*event), expected);
    event->setSequenceNo(0xFD0F0E0D);
    expected[12] = 0x0D;
    expected[13] = 0x0E;
    expected[14] = 0x0F;
    expected[15] = 0xFD;
    EXPECT_EQ(bytesOf(*event), expected);
    EXPECT_EQ(event->getClass(), 0x0201);
    EXPECT_EQ(event->getCode(), 0x0403);
    EXPECT_EQ(event->getSequenceNo(), 0xFD0F0E0D);
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

TEST(EventRecord, CopyConstructorIsTracedWithItsLabel) {
    TracedHost host;
    CEvent source;
    host.forgetLines();
    const CEvent copy(source);
    EXPECT_EQ(host.lines(),
              (LogLines{"CEvent::CEvent()libVeskNvme: CEvent::CEvent(copyObject) ENTRY ",
                        "CEvent::CEvent()libVeskNvme: CEvent::CEvent(copyObject) EXIT "}));
}

TEST(EventRecord, AssignmentIsTracedWithItsLabel) {
    TracedHost host;
    CEvent source;
    CEvent target;
    host.forgetLines();
    target = source;
    EXPECT_EQ(host.lines().size(), 2U);
    EXPECT_TRUE(hasLineEnding(
        host.lines(), "CEvent::operator=()libVeskNvme: CEvent::operator=(copyObject) ENTRY "));
    EXPECT_TRUE(hasLineEnding(
        host.lines(), "CEvent::operator=()libVeskNvme: CEvent::operator=(copyObject) EXIT "));
}

TEST(EventRecord, AccessorsAreNotTraced) {
    TracedHost host;
    CEvent event;
    event.setClass(1);
    event.setCode(2);
    event.setSequenceNo(3);
    host.forgetLines();
    event.setClass(event.getClass());
    event.setCode(event.getCode());
    event.setSequenceNo(event.getSequenceNo());
    EXPECT_EQ(host.lines(), LogLines{});
}

}  // namespace
