#include "veskctl/event_delivery.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace veskctl {

namespace {

constexpr std::size_t kMostEvents = 64;  // of one delivery

}  // namespace

EventDelivery takeEvents(const LibraryFunctions& functions) {
    alignas(CEvent) std::array<std::uint8_t, kMostEvents* kEventRecordSize> room = {};
    UCHAR_ count = 0;
    const UCHAR_ result = functions.getEvents(0, 0, &count, reinterpret_cast<CEvent*>(room.data()));

    EventDelivery delivery;
    const std::size_t delivered = std::min<std::size_t>(count, kMostEvents);
    for (std::size_t index = 0; index < delivered; ++index) {
        delivery.events.push_back(decodeEvent(room.data() + index * kEventRecordSize));
    }
    delivery.full = delivered == kMostEvents;
    if (result != ERR_NONE) {
        delivery.problem = libraryCallFailed("ZT_EVT_GetEvent", result);
        delivery.problem->message +=
            "; the mark of what was delivered could not be stored, so the same events will come "
            "again; check that libVeskNVMeAlertMapping.ini can be written";
    }
    return delivery;
}

}  // namespace veskctl
