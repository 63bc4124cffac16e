// The names in trace lines, and the trace lines themselves.
#include "support/trace.h"
#include "traced_host.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using vesktest::LogLines;
using vesktest::TracedHost;

class TracedThing {
public:
    static void plain(int, const char*) {
        LOG_ENTRY;
        LOG_EXIT;
    }
    static void labelled() {
        LOG_ENTRY_LABEL("a label: TracedThing::labelled()");
        LOG_EXIT_LABEL("a label: TracedThing::labelled()");
    }
    static void throwing() {
        LOG_ENTRY;
        throw std::runtime_error("leaves the function");
        LOG_EXIT;
    }
};

}  // namespace

TEST(MethodName, HoldsClassAndMethodWithoutReturnType) {
    EXPECT_EQ(stg::methodName("void CEventBuilder::getEventInfo()"),
              "CEventBuilder::getEventInfo()");
}

TEST(MethodName, DropsTheArguments) {
    EXPECT_EQ(stg::methodName("RESULT EventParser::parseEvent(std::__cxx11::string, PEvent)"),
              "EventParser::parseEvent()");
}

TEST(MethodName, StartsBehindTheLastBlankBeforeTheClass) {
    EXPECT_EQ(stg::methodName("static CommandHandler* CommandHandler::getUniqueInstance()"),
              "CommandHandler::getUniqueInstance()");
    EXPECT_EQ(stg::methodName("virtual VOID_ CControllerBuilder::buidInfo(int)"),
              "CControllerBuilder::buidInfo()");
}

TEST(MethodName, SignatureWithoutReturnTypeStartsAtItsFirstCharacter) {
    EXPECT_EQ(stg::methodName("CController::CController()"), "CController::CController()");
}

TEST(MethodName, KeepsAReturnTypeThatHoldsANamespace) {
    EXPECT_EQ(
        stg::methodName("std::__cxx11::string VeskNVMeLibrary_Helper::readPropertyFromFile(int)"),
        "std::__cxx11::string VeskNVMeLibrary_Helper::readPropertyFromFile()");
    EXPECT_EQ(stg::methodName("static std::string Helper::text(int)"),
              "std::string Helper::text()");
}

TEST(MethodName, EndsBeforeTheLastParenthesis) {
    EXPECT_EQ(stg::methodName("void Thing::run(int (*)(char))"), "Thing::run(int (*)()");
}

TEST(MethodName, KeepsTheWholeQualification) {
    EXPECT_EQ(
        stg::methodName("INTEGER stg::CVmwareZNVDeviceTalker_Helper::getAllNVMeAdapters(int)"),
        "stg::CVmwareZNVDeviceTalker_Helper::getAllNVMeAdapters()");
}

TEST(Trace, EntryAndExitCarryTheName) {
    TracedHost logging;
    TracedThing::plain(1, "");
    // The namespace without a name is part of the signature, in the compiler's words.
    const LogLines lines = logging.lines();
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_NE(lines[0].find("TracedThing::plain() ENTRY "), std::string::npos) << lines[0];
    EXPECT_NE(lines[1].find("TracedThing::plain() EXIT "), std::string::npos) << lines[1];
    EXPECT_EQ(lines[0].substr(lines[0].size() - 7), " ENTRY ");
    EXPECT_EQ(lines[1].substr(lines[1].size() - 6), " EXIT ");
}

TEST(Trace, LabelStandsRightBehindTheParentheses) {
    TracedHost logging;
    TracedThing::labelled();
    const LogLines lines = logging.lines();
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_NE(lines[0].find("TracedThing::labelled()a label: TracedThing::labelled() ENTRY "),
              std::string::npos);
    EXPECT_NE(lines[1].find("TracedThing::labelled()a label: TracedThing::labelled() EXIT "),
              std::string::npos);
}

TEST(Trace, ExceptionLeavesNoExitLine) {
    TracedHost logging;
    EXPECT_THROW(TracedThing::throwing(), std::runtime_error);
    const LogLines lines = logging.lines();
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_NE(lines[0].find("TracedThing::throwing() ENTRY "), std::string::npos);
}

TEST(Trace, IsSilentWhileLoggingIsOff) {
    const vesktest::PrivateHost host;
    TracedThing::plain(1, "");
    EXPECT_FALSE(host.exists(vesktest::kLogPath));
}
