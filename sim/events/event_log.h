// The controller's event log: its lines, the area that holds them, and what is added to it as time
// goes by. Not synchronised.
#pragma once

#include "sim/scenario/scenario.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vesksim {

// A line without its line feed. The two numbers stand in for those that the event leaves open.
std::string eventLine(const EventEntry& entry, std::uint32_t sequence, std::uint32_t time);

// The sequence number of a line, if it has a valid one.
std::optional<std::uint32_t> sequenceOf(const std::string& line);

// The 64 KiB in which the controller keeps its events: 16 pages of text, each behind a header of
// its own.
//
// Pages are used in a ring. When the last one is full, the first one is emptied and takes the new
// lines, and so on: the oldest text goes a page at a time, and what stays keeps its place, so no
// line is left without its beginning.
class EventArea {
public:
    static constexpr std::size_t kPageBytes = 4096;
    static constexpr std::size_t kHeaderBytes = 40;
    static constexpr std::size_t kAreaBytes = 16 * kPageBytes;
    static constexpr std::size_t kMaxLineBytes = kPageBytes - kHeaderBytes - 1;  // and a line feed

    // `cut` says what becomes of a line that does not fit in what is left of its page. Without it,
    // the line starts on the next page. With it, the line runs on at byte 0 of the next page, over
    // the header, and what does not fit there is dropped: the next line starts at byte 40 as
    // always. A reader who joins 8 bytes of each side gets such a line back if its rest, line feed
    // included, has no more than 8. One that is cut at the end of the last page runs on in the
    // first one, where no reader looks for it.
    EventArea(bool cut, std::uint64_t noiseSeed);

    // At most kMaxLineBytes, without the line feed.
    void append(const std::string& line);
    // True once old text had to go.
    bool wrapped() const { return m_wrapped; }

    // What lies behind the end of the area reads as zeros.
    std::vector<std::uint8_t> read(std::uint32_t offset, std::size_t length) const;

    const std::vector<std::uint8_t>& bytes() const { return m_bytes; }
    // Where the next line starts; the end of the area if the last page is full.
    std::size_t position() const { return m_position; }
    // `bytes` are kAreaBytes, `position` is at most kAreaBytes.
    void restore(const std::vector<std::uint8_t>& bytes, std::size_t position);

private:
    void enterNextPage();
    void put(std::size_t offset, const std::string& text);

    bool m_cut;
    std::uint64_t m_noiseSeed;
    std::vector<std::uint8_t> m_bytes;
    std::size_t m_position = kHeaderBytes;
    bool m_wrapped = false;
};

// What a log keeps over a restart of the program.
struct EventLogState {
    std::string source;              // mark of the scenario's settings that the log came from
    double seconds = 0;              // the log's own time
    std::vector<std::uint8_t> area;  // 64 KiB
    std::size_t position = 0;        // where the next line goes
    std::uint32_t nextSequence = 0;  // of an event that has no number of its own
    std::size_t scheduledDone = 0;   // scheduled events that have happened
    std::uint64_t randomMade = 0;    // made-up events that have happened
    double nextRandomAt = 0;         // when the next one of these happens
};

// Equal for adapters whose logs begin and grow in the same way.
std::string eventSource(const Adapter& adapter);

class EventLog {
public:
    // Made-up events of a longer gap are left out, so that a long break costs no time.
    static constexpr double kLongestGapSeconds = 3600;

    // The log with the events that are there from the beginning.
    EventLog(const Adapter& adapter, std::uint64_t noiseSeed);

    // Adds what has happened up to this time, in seconds since the log began. Time that goes back
    // takes nothing away.
    void advance(double seconds);

    std::vector<std::uint8_t> read(std::uint32_t offset, std::size_t length) const {
        return m_area.read(offset, length);
    }

    // True once old text had to go.
    bool wrapped() const { return m_area.wrapped(); }

    EventLogState state() const;
    void restore(const EventLogState& state);

private:
    void append(const EventEntry& entry, double seconds);

    Adapter m_adapter;
    std::vector<ScheduledEvent> m_schedule;  // by rising time
    EventArea m_area;
    double m_seconds = 0;
    std::uint32_t m_nextSequence = 1;
    std::size_t m_scheduledDone = 0;
    std::uint64_t m_randomMade = 0;
    double m_nextRandomAt = 0;
};

}  // namespace vesksim
