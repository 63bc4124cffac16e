// A private host on which the library's log is running, for tests that look at log lines.
#pragma once

#include "log_file.h"
#include "private_host.h"
#include "support/logger.h"

namespace vesktest {

class LoggingHost {
public:
    LoggingHost() : m_log(m_host) { stg::lout.startDebug(); }
    ~LoggingHost() { stg::lout.stopDebug(); }
    LoggingHost(const LoggingHost&) = delete;
    LoggingHost& operator=(const LoggingHost&) = delete;

    const PrivateHost& host() const { return m_host; }
    const LogFile& log() const { return m_log; }
    LogLines lines() const { return m_log.lines(); }

    // What was logged so far is forgotten.
    void clearLog() const { m_host.write(kLogPath, ""); }

private:
    PrivateHost m_host;
    LogFile m_log;
};

}  // namespace vesktest
