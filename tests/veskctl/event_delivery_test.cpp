// One delivery.
#include "veskctl/event_delivery.h"

#include "fake_library.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>

namespace {

using veskctl::EventDelivery;
using veskctl::ProblemKind;
using veskctl::takeEvents;

std::array<std::uint8_t, 64> withSequence(unsigned sequence) {
    std::array<std::uint8_t, 64> bytes = {};
    bytes[12] = static_cast<std::uint8_t>(sequence);
    return bytes;
}

TEST(EventDelivery, KeepsTheOrder) {
    FakeLibrary library;
    library.events = {withSequence(4), withSequence(9)};
    const EventDelivery delivery = takeEvents(library.functions());
    ASSERT_EQ(delivery.events.size(), 2U);
    EXPECT_EQ(delivery.events[0].sequence, 4U);
    EXPECT_EQ(delivery.events[1].sequence, 9U);
    EXPECT_FALSE(delivery.full);
    EXPECT_FALSE(delivery.problem.has_value());
}

TEST(EventDelivery, SixtyFourAreFull) {
    FakeLibrary library;
    for (unsigned sequence = 1; sequence <= 63; ++sequence) {
        library.events.push_back(withSequence(sequence));
    }
    EXPECT_FALSE(takeEvents(library.functions()).full);
    library.events.push_back(withSequence(64));
    const EventDelivery delivery = takeEvents(library.functions());
    EXPECT_TRUE(delivery.full);
    ASSERT_EQ(delivery.events.size(), 64U);
    EXPECT_EQ(delivery.events[63].sequence, 64U);
}

TEST(EventDelivery, AMarkThatWasNotStoredKeepsTheEvents) {
    FakeLibrary library;
    library.events = {withSequence(4)};
    library.results["getEvents"] = 1;
    const EventDelivery delivery = takeEvents(library.functions());
    EXPECT_EQ(delivery.events.size(), 1U);
    ASSERT_TRUE(delivery.problem.has_value());
    EXPECT_EQ(delivery.problem->kind, ProblemKind::LibraryCallFailed);
    EXPECT_EQ(delivery.problem->resultCode, 1);
    EXPECT_NE(delivery.problem->message.find("the same events will come again"), std::string::npos);
}

}  // namespace
