// What was found about the host's own files: one finding for each thing that is worth a sentence.
#pragma once

#include "veskctl/problem.h"

#include <optional>
#include <string>
#include <vector>

namespace veskctl {

enum class Severity {
    Info,     // as it should be, or worth knowing
    Warning,  // may be meant so
    Error     // something does not work, or will not
};

struct Finding {
    Severity severity = Severity::Info;
    std::string code;  // in snake case
    std::string path;  // as the host knows it; empty: of no file
    std::optional<unsigned> line = std::nullopt;
    std::string text;
    std::string remedy = {};  // empty: nothing is to be done
    // The library would end or hang at its start because of it.
    bool stopsLibrary = false;
};

// "info", "warning", "error".
const char* severityName(Severity severity);

Json findingToJson(const Finding& finding);

// The finding as one sentence: path and line, what, what to do.
std::string findingSentence(const Finding& finding);

// Null if there is none.
const Finding* firstThatStopsLibrary(const std::vector<Finding>& findings);

}  // namespace veskctl
