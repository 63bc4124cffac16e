// The controller's event log, read through the library without moving the host's mark: the library
// gets a private copy of the alert mapping, and whoever has shown the events moves the mark. So an
// end at any moment loses no event.
#pragma once

#include "veskctl/command.h"
#include "veskctl/event_reading.h"
#include "veskctl/host_files.h"
#include "veskctl/problem.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

namespace veskctl {

class EventLog {
public:
    // Reads the host's files; no device is touched. wait: how long one look waits for something to
    // come.
    EventLog(const CommandContext& context, std::chrono::milliseconds wait);

    // False: stop waiting. By default it waits on.
    std::function<bool(std::chrono::milliseconds)> pause;

    // The mark as the library reads it; 0 if it is below.
    std::uint32_t mark() const;
    const HostFiles& files() const { return m_files; }
    std::string mappingPath() const;  // where this program finds the file

    // One fresh start of the library. Throws ProblemError without a controller, and if that does
    // not answer.
    EventDelivery look(std::uint32_t above);

    // Both through look.
    EventReading readNew(EventExtent extent, NumberCheck check);
    EventReading readHeld();
    // What the controller holds above the number and the library does not report, for want of a
    // row of the alert mapping. With the controller's own codes.
    std::vector<Event> readUnlisted(std::uint32_t above);

    // Moves the mark up to this number, never down. To be called under a MarkLock. Throws
    // ProblemError.
    void storeMark(std::uint32_t number);

    bool simulated() const { return m_simulated; }
    // What the set-up noted.
    const std::vector<Problem>& problems() const { return m_problems; }

private:
    EventDelivery lookBy(const std::string& mapping);

    CommandContext m_context;
    std::chrono::milliseconds m_wait;
    HostFiles m_files;
    bool m_simulated = false;
    bool m_answered = false;         // the controller did
    std::set<unsigned> m_longCodes;  // that the looks so far came by
    std::vector<Problem> m_problems;
};

// What is pending: everything above the mark, which stays. Throws ProblemError. Not while another
// Session is open.
EventReading peekEvents(const CommandContext& context);

}  // namespace veskctl
