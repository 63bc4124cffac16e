// A private host with the trace log switched on, for tests that look at what is logged.
#pragma once

#include "log_file.h"
#include "private_host.h"

#include "support/logger.h"

#include <cstddef>
#include <string>

namespace vesktest {

class TracedHost {
public:
    TracedHost() { stg::lout.startDebug(); }
    ~TracedHost() { stg::lout.stopDebug(); }
    TracedHost(const TracedHost&) = delete;
    TracedHost& operator=(const TracedHost&) = delete;

    const PrivateHost& files() const { return m_files; }

    // Leaves out of the lines below what was logged so far.
    void forgetLines() { m_forgotten = log().raw().size(); }

    // The whole log file, forgotten lines too.
    LogFile log() const { return LogFile(m_files); }

    LogLines lines() const { return log().lines(m_forgotten); }

    // The lines less the trace lines.
    LogLines messages() const { return withoutTrace(lines()); }

    // Whether the function of this name, label included, traced its entry and then its exit.
    ::testing::AssertionResult traced(const std::string& name) const {
        return inOrder(lines(), {name + " ENTRY ", name + " EXIT "});
    }

private:
    PrivateHost m_files;
    std::size_t m_forgotten = 0;  // bytes of the log file
};

}  // namespace vesktest
