// An event map of the test's own, and records in a form that tests compare.
#pragma once

#include "events/event_record.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace vesktest {

class OwnedEvents {
public:
    OwnedEvents() = default;
    ~OwnedEvents() {
        for (const auto& entry : m_events) {
            std::free(entry.second);
        }
    }
    OwnedEvents(const OwnedEvents&) = delete;
    OwnedEvents& operator=(const OwnedEvents&) = delete;

    std::map<unsigned int, _Event*>* map() { return &m_events; }

    // A zero record if there is none under this key.
    _Event at(unsigned key) const {
        const auto found = m_events.find(key);
        return found == m_events.end() ? _Event{} : *found->second;
    }

    std::vector<unsigned> keys() const {
        std::vector<unsigned> result;
        for (const auto& entry : m_events) {
            result.push_back(entry.first);
        }
        return result;
    }

private:
    std::map<unsigned int, _Event*> m_events;
};

inline std::vector<std::uint8_t> eventBytes(const void* event) {
    std::vector<std::uint8_t> bytes(64);
    std::memcpy(bytes.data(), event, bytes.size());
    return bytes;
}

// "sequence number, code, time, device, class, severity|description", such as
// "7 31 1000 3 2 6|Drive removed"; it says so if a byte that has no meaning is not zero.
inline std::string fieldsOf(const _Event& event) {
    std::string text = std::to_string(event.sequenceNo) + ' ' + std::to_string(event.eventCode) +
                       ' ' + std::to_string(event.timeStamp) + ' ' +
                       std::to_string(event.deviceId) + ' ' + std::to_string(event.eventClass) +
                       ' ' + std::to_string(event.severity) + '|';
    text.append(event.description, strnlen(event.description, sizeof event.description));
    const std::vector<std::uint8_t> bytes = eventBytes(&event);
    bool clean = bytes[11] == 0;
    for (std::size_t i = 16; i < 34; ++i) {
        clean = clean && bytes[i] == 0;
    }
    return clean ? text : text + " with stray bytes";
}

}  // namespace vesktest
