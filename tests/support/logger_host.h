// A private host and its trace log, for tests of the logger.
#pragma once

#include "failing_calls.h"
#include "traced_host.h"

#include <gtest/gtest.h>

#include <regex>
#include <sstream>
#include <string>
#include <thread>

namespace vesktest {

// A thread as lines name it.
inline std::string idText(std::thread::id id) {
    std::ostringstream text;
    text << id;
    return text.str();
}

inline vesksim::FailureHandler failAll(const std::string& function, int error) {
    return [function, error](const char* called, const std::string&) {
        return called == function ? error : 0;
    };
}

class Logger : public ::testing::Test {
protected:
    Logger() : m_log(m_host) {}
    ~Logger() override { stg::lout.stopDebug(); }

    // The file with "|" in the place of each prefix.
    std::string text() const {
        static const std::regex s_prefix(R"(\(T: [^)]*\) \[[^\]]*\] )");
        return std::regex_replace(m_log.raw(), s_prefix, "|");
    }

    PrivateHost m_host;
    LogFile m_log;
};

// The same with the log switched on.
class RunningLogger : public Logger {
protected:
    RunningLogger() { stg::lout.startDebug(); }
};

}  // namespace vesktest
