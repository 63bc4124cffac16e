#include "veskctl/finding.h"

#include "veskctl/format.h"
#include "veskctl/report.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace veskctl {

const char* severityName(Severity severity) {
    switch (severity) {
    case Severity::Warning:
        return "warning";
    case Severity::Error:
        return "error";
    case Severity::Info:
        break;
    }
    return "info";
}

Json findingToJson(const Finding& finding) {
    Json json;
    json["severity"] = severityName(finding.severity);
    json["code"] = finding.code;
    json["path"] = finding.path.empty() ? Json() : Json(finding.path);
    json["line"] = valueOrNull(finding.line);
    json["text"] = finding.text;
    json["remedy"] = finding.remedy.empty() ? Json() : Json(finding.remedy);
    return json;
}

std::string findingSentence(const Finding& finding) {
    std::string place;
    if (!finding.path.empty()) {
        place = finding.path + (finding.line ? format(" line {}", *finding.line) : "") + ": ";
    }
    return place + finding.text + (finding.remedy.empty() ? "" : "; " + finding.remedy);
}

const Finding* firstThatStopsLibrary(const std::vector<Finding>& findings) {
    const auto found = std::find_if(findings.begin(), findings.end(),
                                    [](const Finding& finding) { return finding.stopsLibrary; });
    return found == findings.end() ? nullptr : &*found;
}

}  // namespace veskctl
