// The options that every command takes.
#pragma once

#include "veskctl/capture.h"
#include "veskctl/command.h"
#include "veskctl/screen.h"

#include <optional>
#include <string>

namespace veskctl {

class CommonOptions {
public:
    CommonOptions();

    // To be called for the program and for each command: the options may stand on either side of
    // its name.
    void declare(Options& options);

    // What the options make of a command's surroundings. Throws UsageError if two of them
    // contradict each other.
    CommandContext contextFor(const Screen& screen) const;

    // How many seconds lie between two looks; empty: one look.
    std::optional<unsigned> watchSeconds() const { return m_watchSeconds; }

    const CaptureOptions& capture() const { return m_capture; }

private:
    std::string m_library;
    std::string m_host;
    std::string m_format;
    std::string m_colour;
    bool m_json = false;
    bool m_ndjson = false;
    bool m_noHeader = false;
    bool m_quiet = false;
    unsigned m_timeoutSeconds = 0;  // 0: not given
    std::optional<unsigned> m_watchSeconds;
    CaptureOptions m_capture;
};

// A command line that cannot be read may still ask for a document.
bool asksForJson(int argc, const char* const* argv);

}  // namespace veskctl
