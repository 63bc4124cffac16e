// A moment as a document. Real ones are written and compared in tests/golden.
#include "veskctl/moment.h"

#include "veskctl/command.h"
#include "veskctl/report.h"

#include "samples.h"

#include <gtest/gtest.h>

using namespace veskctl;

namespace {

Event eventNumbered(std::uint32_t sequence) {
    Event event;
    event.sequence = sequence;
    return event;
}

TEST(Moment, HoldsNewEventsAndAllThatAreHeldApart) {
    Moment moment;
    moment.snapshot.host = "esx1";
    moment.snapshot.newEvents = EventReading();
    moment.snapshot.newEvents->mark = 4;
    moment.snapshot.newEvents->events = {eventNumbered(5)};
    moment.events.events = {eventNumbered(4), eventNumbered(5)};
    moment.findings = {{Severity::Warning, "a_code", "/a", 3, "text", "remedy"}};
    moment.verdict = {Level::Warning, {{Level::Warning, "a_code", "host files", "text"}}};
    const Json json = momentToJson(moment);
    EXPECT_EQ(at(json, "/verdict/level"), "\"warning\"");
    EXPECT_EQ(at(json, "/new_events/mark"), "4");
    EXPECT_EQ(at(json, "/new_events/count"), "1");
    EXPECT_EQ(at(json, "/events/0/sequence"), "4");
    EXPECT_EQ(at(json, "/events/1/host"), "\"esx1\"");
    EXPECT_EQ(at(json, "/findings/0/line"), "3");
}

TEST(Moment, OfAHostOfWhichNothingIsKnownHasEveryField) {
    const Json json = momentToJson(Moment());
    for (const char* field : {"/controllers", "/disks", "/health", "/volumes", "/events"}) {
        EXPECT_EQ(at(json, field), "[]") << field;
    }
    EXPECT_EQ(at(json, "/new_events"), "null");
}

TEST(Moment, WithoutALibraryIsAProblemAndNoAllClear) {
    CommandContext context;
    context.libraryName = "/nonexistent/libVeskNvme.so";
    context.hostRoot = "/nonexistent";
    Report report;
    const Moment moment = takeMoment(context, report);
    EXPECT_EQ(moment.verdict.level, Level::Unknown);
    ASSERT_EQ(report.problems.size(), 1U);
    EXPECT_EQ(report.problems[0].kind, ProblemKind::LibraryNotFound);
    EXPECT_TRUE(moment.events.events.empty());
}

}  // namespace
