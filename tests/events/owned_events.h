// An event map of the test's own, and single records.
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
    ~OwnedEvents() { clear(); }
    OwnedEvents(const OwnedEvents&) = delete;
    OwnedEvents& operator=(const OwnedEvents&) = delete;

    std::map<unsigned int, _Event*>* map() { return &m_events; }
    std::size_t size() const { return m_events.size(); }

    // A zero record if there is none under this key.
    _Event at(unsigned key) const {
        const auto found = m_events.find(key);
        return found == m_events.end() ? _Event{} : *found->second;
    }
    bool has(unsigned key) const { return m_events.count(key) != 0; }

    std::vector<unsigned> keys() const {
        std::vector<unsigned> result;
        for (const auto& entry : m_events) {
            result.push_back(entry.first);
        }
        return result;
    }

    void clear() {
        for (const auto& entry : m_events) {
            std::free(entry.second);
        }
        m_events.clear();
    }

private:
    std::map<unsigned int, _Event*> m_events;
};

inline std::vector<std::uint8_t> eventBytes(const void* event) {
    std::vector<std::uint8_t> bytes(64);
    std::memcpy(bytes.data(), event, bytes.size());
    return bytes;
}

// The field up to its NUL.
inline std::string descriptionOf(const _Event& event) {
    return std::string(event.description, strnlen(event.description, sizeof event.description));
}

}  // namespace vesktest
