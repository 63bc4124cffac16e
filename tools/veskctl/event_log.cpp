#include "veskctl/event_log.h"

#include "veskctl/command.h"
#include "veskctl/controller.h"
#include "veskctl/format.h"
#include "veskctl/mark_file.h"
#include "veskctl/session.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <thread>

#include <unistd.h>

namespace veskctl {

namespace {

constexpr std::chrono::milliseconds kPause(20);
constexpr std::chrono::milliseconds kPeekWait(2000);

// The name that the library opens in its third place, the current folder.
constexpr const char* kMappingName = "libVeskNVMeAlertMapping.ini";

class PrivateCopy {
public:
    explicit PrivateCopy(const std::string& text) {
        const char* const folder = std::getenv("TMPDIR");
        m_path = std::string(folder != nullptr && *folder != '\0' ? folder : "/tmp") +
                 "/veskctl-mapping-XXXXXX";
        const int descriptor = mkstemp(m_path.data());
        const bool written = descriptor != -1 && write(descriptor, text.data(), text.size()) ==
                                                     static_cast<ssize_t>(text.size());
        const int error = errno;
        if (descriptor != -1) {
            close(descriptor);
        }
        if (!written) {
            remove();
            throw ProblemError(
                {ProblemKind::Internal,
                 format("no private copy of the alert mapping can be made as {}: {}; check TMPDIR",
                        m_path, std::strerror(error))});
        }
    }
    ~PrivateCopy() { remove(); }

    PrivateCopy(const PrivateCopy&) = delete;
    PrivateCopy& operator=(const PrivateCopy&) = delete;

    const std::string& path() const { return m_path; }
    void remove() const { unlink(m_path.c_str()); }

private:
    std::string m_path;
};

void demandAnswer(const LibraryFunctions& functions) {
    std::vector<Problem> problems;
    readController(functions, problems);
    if (!problems.empty()) {
        throw ProblemError(problems.front());
    }
}

bool waitOn(std::chrono::milliseconds time) {
    std::this_thread::sleep_for(time);
    return true;
}

}  // namespace

EventLog::EventLog(const CommandContext& context, std::chrono::milliseconds wait)
    : pause(waitOn), m_context(context), m_wait(wait), m_files(readHostFiles(context.hostRoot)) {}

std::uint32_t EventLog::mark() const {
    return m_files.mark ? static_cast<std::uint32_t>(std::max(m_files.mark->value, 0)) : 0;
}

std::string EventLog::mappingPath() const {
    return placeOfMapping(m_context.hostRoot, m_files);
}

EventDelivery EventLog::look(std::uint32_t above) {
    return lookBy(copyWithMark(m_files.mapping.text, above));
}

EventDelivery EventLog::lookBy(const std::string& mapping) {
    const PrivateCopy copy(mapping);
    LibrarySetup setup = librarySetup(m_context);
    const std::string from = m_files.inCurrentFolder ? kMappingName : m_files.mapping.path;
    setup.hooks.enter = [&, given = setup.hooks.enter] {
        if (given) {
            given();
        }
        m_context.child.redirectFile(from, copy.path());
    };
    setup.hooks.leave = [&, given = setup.hooks.leave] {
        copy.remove();  // the program may have been killed
        if (given) {
            given();
        }
    };
    Session session(setup, m_problems, m_simulated);
    if (!m_answered) {
        demandAnswer(session.functions());
        m_answered = true;
    }
    std::chrono::milliseconds left = m_wait;
    EventDelivery delivery;
    for (;;) {
        // A delivery waits for the library's own look that is going on.
        const bool finished = session.logReads().finished;
        delivery = takeEvents(session.functions());
        if (finished || !delivery.events.empty() || delivery.problem || left.count() <= 0 ||
            !pause(std::min(left, kPause))) {
            break;
        }
        left -= std::min(left, kPause);
    }
    delivery.reads = session.logReads();
    const auto& codes = delivery.reads.longCodes;
    m_longCodes.insert(codes.begin(), std::find(codes.begin(), codes.end(), 0));
    if (delivery.events.empty() && !delivery.problem) {
        // One that fell silent in the middle reads as an empty log.
        demandAnswer(session.functions());
    }
    return delivery;
}

EventReading EventLog::readNew(EventExtent extent, NumberCheck check) {
    EventReading reading =
        readNewEvents([this](std::uint32_t above) { return look(above); }, mark(), extent, check);
    if (check == NumberCheck::Yes && reading.looked && !reading.problem) {
        reading.unlisted = readUnlisted(contiguousEnd(reading));
    }
    if (reading.more) {  // those behind its last event come with the rest
        std::vector<Event>& unlisted = reading.unlisted;
        const std::uint32_t last = reading.events.back().sequence;
        unlisted.erase(std::remove_if(unlisted.begin(), unlisted.end(),
                                      [&](const Event& event) { return event.sequence > last; }),
                       unlisted.end());
    }
    return reading;
}

EventReading EventLog::readHeld() {
    EventReading reading = readHeldEvents([this](std::uint32_t above) { return look(above); });
    reading.mark = mark();
    return reading;
}

std::vector<Event> EventLog::readUnlisted(std::uint32_t above) {
    const auto read = [&] {
        const std::string mapping =
            mappingOfOtherCodes(m_files.alerts.value_or(AlertMapping()), m_longCodes);
        const auto look = [&](std::uint32_t from) {
            return lookBy(mapping + std::to_string(std::max(from, above)) + '\n');
        };
        return readHeldEvents(look).events;
    };
    const std::size_t known = m_longCodes.size();
    std::vector<Event> events = read();
    // Where no look came before, this one has just shown for which codes rows were missing.
    return m_longCodes.size() == known ? events : read();
}

void EventLog::storeMark(std::uint32_t number) {
    const std::string path = mappingPath();
    const FileText now = readHostFile(
        m_context.hostRoot, m_files.inCurrentFolder ? kMappingName : m_files.mapping.path);
    if (now.state != FileState::Read) {
        throw ProblemError({ProblemKind::MarkNotStored,
                            format("the mark of delivered events cannot be stored in {}: {}; the "
                                   "same events will come again",
                                   path, whyUnread(now))});
    }
    std::vector<Finding> findings;
    const SequenceMark mark = readSequenceMark(now.text, m_files.mapping.path, findings);
    if (!mark.sound) {
        throw ProblemError({ProblemKind::MarkNotStored,
                            "the mark was not moved, so the same events will come again: " +
                                (findings.empty() ? path : findingSentence(findings.front()))});
    }
    if (static_cast<std::uint32_t>(mark.value) >= number) {
        return;  // another program has moved it
    }
    replaceText(path, now.text, withMark(now.text, path, number));
}

EventReading peekEvents(const CommandContext& context) {
    EventLog log(context, kPeekWait);
    return log.readNew(EventExtent::Everything, NumberCheck::Yes);
}

}  // namespace veskctl
