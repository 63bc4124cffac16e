#include "event_text.h"

#include <fmt/format.h>

#include <cstddef>
#include <limits>

namespace vesksim {

std::string eventLine(const EventEntry& entry, std::uint32_t sequence, std::uint32_t time) {
    if (const auto* line = std::get_if<std::string>(&entry)) {
        return *line;
    }
    const Event& event = std::get<Event>(entry);
    return fmt::format("[SEQ]{}[TIME]{}[EVT_ID]0x{:X}[DEV_ID]{}[MSG]{}_{}_{}",
                       event.sequence.value_or(sequence), event.time.value_or(time), event.eventId,
                       event.deviceId, event.eventClass, event.description, event.severity);
}

std::optional<std::uint32_t> sequenceOf(const std::string& line) {
    const std::string tag = "[SEQ]";
    const std::size_t found = line.find(tag);
    if (found == std::string::npos) {
        return std::nullopt;
    }
    constexpr std::uint64_t kMax = std::numeric_limits<std::uint32_t>::max();
    const std::size_t first = found + tag.size();
    std::size_t at = first;
    std::uint64_t number = 0;
    for (; at < line.size() && line[at] >= '0' && line[at] <= '9'; ++at) {
        number = number * 10 + static_cast<std::uint64_t>(line[at] - '0');
        if (number > kMax) {
            return std::nullopt;
        }
    }
    return at == first ? std::nullopt
                       : std::optional<std::uint32_t>(static_cast<std::uint32_t>(number));
}

}  // namespace vesksim
