// A host with an event log and an alert mapping file, and the two sides of the event map.
#pragma once

#include "event_page.h"
#include "private_host.h"
#include "traced_host.h"

#include "events/event_builder.h"
#include "support/ini_files.h"
#include "transport/i_device_talker.h"

#include <cstdlib>
#include <cstring>
#include <functional>
#include <numeric>
#include <string>
#include <vector>

namespace vesktest {

// A talker that answers reads of the event log out of an EventArea.
class PagedTalker : public IZNVDeviceTalker {
public:
    struct Read {
        UNSIGNED_INTEGER offset;
        UNSIGNED_INTEGER length;
        friend bool operator==(const Read& a, const Read& b) {
            return a.offset == b.offset && a.length == b.length;
        }
    };

    // Takes the place of the library's talker for as long as it lives.
    PagedTalker() { OS_OSTYPEPTR_PAIR.second = this; }
    ~PagedTalker() override { OS_OSTYPEPTR_PAIR.second = nullptr; }

    BOOL_TYPE checkControllerExistence() override { return true; }
    UCHAR_ getControllerCount() override { return 1; }
    VOID_ destroyOSdeviceTalker() override {}
    RESULT executeIOCTL(znvTalkerMulti*) override { return 1; }

    RESULT executeCMD(CCommandDword* command, ULONG_INT code) override {
        reads.push_back({command->getcdw13(), command->getcdw14()});
        codes.push_back(code);
        if (hook && !hook(reads.size())) {
            return 1;
        }
        if (command->getcdw_6_7() != nullptr) {
            const std::string bytes = area.read(command->getcdw13(), command->getcdw14());
            std::memcpy(command->getcdw_6_7(), bytes.data(), bytes.size());
        }
        return 0;
    }

    // For a read's number, from 1 on: false lets it fail. May throw.
    std::function<bool(std::size_t)> hook;
    EventArea area;
    std::vector<Read> reads;
    std::vector<ULONG_INT> codes;
};

inline const PrivateHost& filesOf(const PrivateHost& host) {
    return host;
}
inline const PrivateHost& filesOf(const TracedHost& host) {
    return host.files();
}

template <typename Host>
class EventHostOn {
public:
    explicit EventHostOn(const std::string& mapping = "") {
        VeskNVMeLibrary_Helper::m_LibPath = kFirstIniFolder;
        if (!mapping.empty()) {
            files().writeMappingIni(mapping);
        }
    }
    ~EventHostOn() {
        CEventBuilder::destroyEventsInEventsMap();
        CEventBuilder::destroyEventsMap();
    }
    EventHostOn(const EventHostOn&) = delete;
    EventHostOn& operator=(const EventHostOn&) = delete;

    Host& host() { return m_host; }
    const PrivateHost& files() const { return filesOf(m_host); }
    PagedTalker& talker() { return m_talker; }
    EventArea& area() { return m_talker.area; }
    std::string mapping() const { return files().read(kMappingIniPath); }

    // Collects what the area holds.
    void poll() { CEventBuilder().buidInfo(5); }
    // The area becomes this text alone, on its first page, and is collected.
    void poll(const std::string& text) {
        area().clear();
        area().putPage(0, text);
        poll();
    }

    // What a delivery hands out.
    std::vector<_Event> deliver() {
        std::vector<IObject*> objects;
        CEventBuilder().getObjectVector(objects);
        std::vector<_Event> result(objects.size());
        for (std::size_t i = 0; i < objects.size(); ++i) {
            std::memcpy(&result[i], static_cast<void*>(objects[i]), sizeof(_Event));
            std::free(objects[i]);
        }
        return result;
    }
    // Its sequence numbers.
    std::vector<unsigned> deliverNumbers() {
        std::vector<unsigned> numbers;
        for (const _Event& event : deliver()) {
            numbers.push_back(event.sequenceNo);
        }
        return numbers;
    }

    // Sequence numbers in the event map.
    static std::vector<unsigned> collected() {
        std::vector<unsigned> numbers;
        if (CEventBuilder::events != nullptr) {
            for (const auto& entry : *CEventBuilder::events) {
                numbers.push_back(entry.first);
            }
        }
        return numbers;
    }

    static bool unlocked() {
        const bool taken = CEventBuilder::mtx.try_lock();
        if (taken) {
            CEventBuilder::mtx.unlock();
        }
        return taken;
    }

private:
    Host m_host;
    PagedTalker m_talker;
};

using EventHost = EventHostOn<TracedHost>;
// Without the log, for what is done many times.
using QuietEventHost = EventHostOn<PrivateHost>;

// Lines "[SEQ]n[EVT_ID]1[MSG]PD_event_INFO" from `first` to `last`.
inline std::string eventLines(unsigned first, unsigned last) {
    std::string text;
    for (unsigned number = first; number <= last; ++number) {
        text += "[SEQ]" + std::to_string(number) + "[EVT_ID]1[MSG]PD_event_INFO\n";
    }
    return text;
}

// `first` to `last`.
inline std::vector<unsigned> numbers(unsigned first, unsigned last) {
    std::vector<unsigned> result(last + 1 - first);
    std::iota(result.begin(), result.end(), first);
    return result;
}

}  // namespace vesktest
