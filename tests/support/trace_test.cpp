// The names in trace lines, and the trace lines themselves.
#include "memory_faults.h"
#include "support/ini_files.h"
#include "support/trace.h"
#include "traced_host.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

// With a name, since compilers differ in what they call a namespace without one.
namespace tracetest {

class Thing {
public:
    static void plain(int, const char*) {
        LOG_ENTRY;
        LOG_EXIT;
    }
    static void labelled() {
        LOG_ENTRY_LABEL("a label: Thing::labelled()");
        LOG_EXIT_LABEL("a label: Thing::labelled()");
    }
    static void throwing() {
        LOG_ENTRY;
        throw std::runtime_error("leaves the function");
        LOG_EXIT;
    }
};

}  // namespace tracetest

namespace {

using tracetest::Thing;
using vesktest::LogLines;
using vesktest::TracedHost;

struct Name {
    const char* signature;
    const char* name;
};

}  // namespace

TEST(MethodName, HoldsClassAndMethodOnly) {
    for (const Name& row : {
             Name{"void CEventBuilder::getEventInfo()", "CEventBuilder::getEventInfo()"},
             Name{"RESULT EventParser::parseEvent(std::__cxx11::string, PEvent)",
                  "EventParser::parseEvent()"},
             // From behind the last blank before the class.
             Name{"static CommandHandler* CommandHandler::getUniqueInstance()",
                  "CommandHandler::getUniqueInstance()"},
             Name{"virtual VOID_ CControllerBuilder::buidInfo(int)",
                  "CControllerBuilder::buidInfo()"},
             // From the first character, where there is no result type.
             Name{"CController::CController()", "CController::CController()"},
             // A result type in a namespace stays.
             Name{"std::__cxx11::string VeskNVMeLibrary_Helper::readPropertyFromFile(int)",
                  "std::__cxx11::string VeskNVMeLibrary_Helper::readPropertyFromFile()"},
             Name{"static std::string Helper::text(int)", "std::string Helper::text()"},
             // Up to the last parenthesis.
             Name{"void Thing::run(int (*)(char))", "Thing::run(int (*)()"},
             Name{"INTEGER stg::CVmwareZNVDeviceTalker_Helper::getAllNVMeAdapters(int)",
                  "stg::CVmwareZNVDeviceTalker_Helper::getAllNVMeAdapters()"},
             // A function outside of any class.
             Name{"UCHAR_ ZT_Adapter_GetCount()", "ZT_Adapter_GetCount()"},
         }) {
        EXPECT_EQ(stg::methodName(row.signature), row.name);
    }
}

TEST(Trace, EntryAndExitCarryTheName) {
    const TracedHost logging;
    Thing::plain(1, "");
    EXPECT_EQ(logging.lines(),
              (LogLines{"tracetest::Thing::plain() ENTRY ", "tracetest::Thing::plain() EXIT "}));
}

TEST(Trace, LabelStandsRightBehindTheParentheses) {
    const TracedHost logging;
    Thing::labelled();
    EXPECT_EQ(logging.lines(),
              (LogLines{"tracetest::Thing::labelled()a label: Thing::labelled() ENTRY ",
                        "tracetest::Thing::labelled()a label: Thing::labelled() EXIT "}));
}

TEST(Trace, ExceptionLeavesNoExitLine) {
    const TracedHost logging;
    EXPECT_THROW(Thing::throwing(), std::runtime_error);
    EXPECT_EQ(logging.lines(), LogLines{"tracetest::Thing::throwing() ENTRY "});
}

TEST(Trace, IsTheSameWhereverACompilerPutsTheBlankOfAPointer) {
    const TracedHost logging;
    for (const char* const signature :
         {"CEvent* Thing::make(int)", "CEvent *Thing::make(int)", "CEvent &Thing::make(int)"}) {
        stg::writeTrace(signature, "", " ENTRY ");
    }
    const std::string line = "Thing::make() ENTRY ";
    EXPECT_EQ(logging.lines(), (LogLines{line, line, line}));
}

TEST(Trace, IsSilentWhileLoggingIsOff) {
    const vesktest::PrivateHost host;
    Thing::plain(1, "");
    EXPECT_FALSE(host.exists(vesktest::kLogPath));
}

TEST(Trace, WithoutMemoryLosesItsLineAndThrowsNothing) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    const TracedHost logging;
    {
        const vesktest::FailNew fail(vesktest::AllocationSize::any(), 1,
                                     vesktest::Repeat::kEachLater);
        EXPECT_NO_THROW(Thing::plain(1, ""));
        EXPECT_TRUE(fail.triggered());
    }
    EXPECT_EQ(logging.lines(), LogLines{});
}

TEST(Trace, OperationsOnTheIniFilesAreTraced) {
    using Helper = VeskNVMeLibrary_Helper;
    struct Operation {
        const char* name;
        void (*call)();
    };
    for (const Operation& operation : {
             Operation{"getLinuxINIPath()",
                       [] {
                           Helper::getLinuxINIPath();
                       }},
             Operation{"setDebugLevel()",
                       [] {
                           Helper::setDebugLevel(3);
                       }},
             Operation{"readPropertyFromFile()",
                       [] {
                           Helper::readPropertyFromFile("/scratch/x", "S", "Key", "");
                       }},
             Operation{"readEventCodeFromINIFile()",
                       [] {
                           Helper::readEventCodeFromINIFile("Adapter", 7);
                       }},
             Operation{"readEventSeqNumberFromINIFile()",
                       [] {
                           Helper::readEventSeqNumberFromINIFile();
                       }},
             Operation{"readPollingIntervalFromINIFile()",
                       [] {
                           Helper::readPollingIntervalFromINIFile();
                       }},
             Operation{"writeSEQNumberToFile()",
                       [] {
                           Helper::writeSEQNumberToFile("/scratch/x", "1");
                       }},
             Operation{"writeLastProcessedEventSeqNumberToINIFile()",
                       [] {
                           Helper::writeLastProcessedEventSeqNumberToINIFile(1);
                       }},
         }) {
        const std::string name = std::string("VeskNVMeLibrary_Helper::") + operation.name;
        const TracedHost logging;
        operation.call();
        const LogLines lines = logging.lines();
        ASSERT_FALSE(lines.empty()) << name;
        EXPECT_EQ(lines.front(), name + " ENTRY ");
        EXPECT_EQ(lines.back(), name + " EXIT ");
    }
}
