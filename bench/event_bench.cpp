// A poll of the whole log area, with records that are all new and that are all known; a delivery of
// 64 events through a mapping file of 434 rows.
#include "bench.h"
#include "connected_library.h"
#include "copying_driver.h"
#include "event_floor.h"
#include "ini_floor.h"

#include "api/command_handler.h"
#include "events/event_builder.h"
#include "private_host.h"
#include "support/ini_files.h"

#include <cstdlib>
#include <cstring>
#include <string>

namespace {

constexpr int kPages = 16;
constexpr int kPageSize = 0x1000;
constexpr int kTextBegin = 40;
constexpr int kMappingRows = 434;
constexpr int kDelivered = 64;

void empty(EventMap& events) {
    for (const auto& entry : events) {
        std::free(entry.second);
    }
    events.clear();
}

using ParseLine = void (*)(const char* line, const char* end, EventMap& events);

// The 16 reads of a poll into a zeroed buffer, and each line through the parser.
void floorOfPoll(EventMap& events, ParseLine parseLine) {
    auto* const buffer = static_cast<char*>(std::malloc(kPageSize));
    for (UNSIGNED_INTEGER offset = 0; offset < kPages * kPageSize; offset += kPageSize) {
        std::memset(buffer, 0, kPageSize);
        nvme_uio uio = bench::readCommand(0x4FE, kPageSize, buffer);
        uio.cdw10 = 0x3FF;
        uio.cdw13 = offset;
        bench::send(uio);
        const char* line = buffer + kTextBegin;
        const char* const end = buffer + kPageSize;
        while (const auto* const lineFeed = static_cast<const char*>(
                   std::memchr(line, '\n', static_cast<std::size_t>(end - line)))) {
            parseLine(line, lineFeed, events);
            line = lineFeed + 1;
        }
    }
    std::free(buffer);
}

void addPoll(int records) {
    const std::string name = "poll, " + std::to_string(records);
    const auto addNew = [&](const std::string& side, auto poll, auto clear) {
        bench::add(name + " new records", side, [poll, clear, records](benchmark::State& state) {
            bench::fillLogArea(records);
            for (auto pass : state) {
                static_cast<void>(pass);
                poll();
                state.PauseTiming();
                clear();
                state.ResumeTiming();
            }
        });
    };
    const auto addKnown = [&](const std::string& side, auto poll) {
        bench::add(name + " known records", side, [poll, records](benchmark::State& state) {
            bench::fillLogArea(records);
            poll();
            for (auto pass : state) {
                static_cast<void>(pass);
                poll();
            }
        });
    };
    static EventMap s_events;
    const auto library = [] {
        stg::dispatch(VeskNVMe_GetEvent);
    };
    const auto byHand = [](ParseLine parse) {
        return [parse] {
            floorOfPoll(s_events, parse);
        };
    };
    const auto clear = [] {
        empty(s_events);
    };
    addNew("library", library, [] { CEventBuilder::destroyEventsInEventsMap(); });
    addNew("floor", byHand(bench::parseOnePass), clear);
    addNew("substr", byHand(bench::parseBySubstr), clear);
    addNew("regex", byHand(bench::parseByRegex), clear);
    addKnown("library", library);
    addKnown("floor", byHand(bench::parseOnePass));
}

int g_lastNumber = 0;

// The next 64 events, with codes of the last rows of the file.
void fillEvents(EventMap& events) {
    for (int i = 0; i < kDelivered; ++i) {
        _Event* const event = bench::newEvent();
        event->sequenceNo = static_cast<UNSIGNED_INTEGER>(++g_lastNumber);
        event->eventClass = 2;
        event->eventCode = static_cast<USHORT_INT>(kMappingRows - i);
        events.emplace(event->sequenceNo, event);
    }
}

CEvent* deliveredEvents() {
    alignas(CEvent) static unsigned char s_room[kDelivered * sizeof(CEvent)];
    return reinterpret_cast<CEvent*>(s_room);
}

void deliverByHand(EventMap& events, const char* path) {
    char* out = reinterpret_cast<char*>(deliveredEvents());
    long last = bench::floorLookup(path, "[EventSequenceNumber]", "SequenceNumber");
    for (const auto& entry : events) {
        if (entry.second->sequenceNo > last) {
            _Event copy = *entry.second;
            copy.eventCode = static_cast<USHORT_INT>(
                bench::floorLookup(path, "[PhysicalDevice]", std::to_string(copy.eventCode)));
            std::memcpy(out, &copy, sizeof copy);
            out += sizeof copy;
            last = copy.sequenceNo;
        }
    }
    bench::floorRewrite(path, last);
    empty(events);
}

void addDelivery(const std::string& path) {
    const auto addSide = [](const std::string& side, EventMap& events, auto deliver) {
        bench::add("delivery of 64 events", side, [&events, deliver](benchmark::State& state) {
            for (auto pass : state) {
                static_cast<void>(pass);
                state.PauseTiming();
                empty(events);
                fillEvents(events);
                state.ResumeTiming();
                deliver();
            }
        });
    };
    addSide("library", *CEventBuilder::events, [] {
        UCHAR_ count = 0;
        ZT_EVT_GetEvent(0, 0, &count, deliveredEvents());
        if (count != kDelivered) {
            std::abort();
        }
    });
    static EventMap s_events;
    addSide("floor", s_events, [path] { deliverByHand(s_events, path.c_str()); });
}

// What a poll costs by what the area holds, and an event from the log area to the host, over runs
// of any length.
void addGrowth() {
    for (const int records : {0, 100, 200, 400, 800}) {
        bench::add("poll of " + std::to_string(records) + " records", "library",
                   [records](benchmark::State& state) {
                       bench::fillLogArea(records);
                       for (auto pass : state) {
                           static_cast<void>(pass);
                           stg::dispatch(VeskNVMe_GetEvent);
                       }
                   });
    }
    for (const int events : {64, 640, 6400, 64000, 1000000}) {
        bench::add("run of " + std::to_string(events) + " events", "library",
                   [events](benchmark::State& state) {
                       for (auto pass : state) {
                           static_cast<void>(pass);
                           for (int done = 0; done < events; done += kDelivered) {
                               bench::fillLogArea(kDelivered, g_lastNumber + 1);
                               g_lastNumber += kDelivered;
                               stg::dispatch(VeskNVMe_GetEvent);
                               UCHAR_ count = 0;
                               ZT_EVT_GetEvent(0, 0, &count, deliveredEvents());
                           }
                       }
                   })
            ->Iterations(events > 6400 ? 1 : 6400 / events)
            ->Repetitions(events > 64000 ? 1 : 5);
    }
}

}  // namespace

void bench::addRows() {
    static const vesktest::PrivateHost s_host;
    s_host.writeMappingIni(mappingText(kMappingRows));
    connectLibrary();
    VeskNVMeLibrary_Helper::m_LibPath = s_host.path(vesktest::kFirstIniFolder);
    stg::dispatch(VeskNVMe_GetEvent);  // makes the event map
    addPoll(800);
    addDelivery(s_host.path(vesktest::kMappingIniPath));
    addGrowth();
}
