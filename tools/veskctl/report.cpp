#include "veskctl/report.h"

namespace veskctl {

std::string renderJson(const std::string& command, const Report& report) {
    using Json = nlohmann::ordered_json;
    Json document;
    document["schema_version"] = kSchemaVersion;
    document["command"] = command.empty() ? Json() : Json(command);
    document.update(report.fields);
    document["errors"] = Json::array();
    for (const Problem& problem : report.problems) {
        document["errors"].push_back(problemToJson(problem));
    }
    // Paths may hold bytes that are no UTF-8: replaced, or there would be no document.
    return document.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

std::string renderProblems(const std::vector<Problem>& problems) {
    std::string text;
    for (const Problem& problem : problems) {
        text += "veskctl: " + problem.message + '\n';
    }
    return text;
}

std::string renderNotes(const std::vector<std::string>& notes) {
    std::string text;
    for (const std::string& note : notes) {
        text += "veskctl: note: " + note + '\n';
    }
    return text;
}

}  // namespace veskctl
