#include "veskctl/problem.h"

#include "veskctl/format.h"

#include "VeskNvme.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace veskctl {

namespace {

const char* resultName(int resultCode) {
    switch (resultCode) {
    case ERR_NONE:
        return "none";
    case ERR_FAIL:
        return "fail";
    case ERR_REQ_OUT_OF_RANGE:
        return "request_out_of_range";
    case ERR_INVALID_REQUEST:
        return "invalid_request";
    case ERR_INVALID_ADAPTER_ID:
        return "invalid_adapter_id";
    case ERR_NOT_SUPPORTED:
        return "not_supported";
    case ERR_NULL_ARGUMENT:
        return "null_argument";
    case ERR_RESCANING:
        return "rescanning";
    default:
        return "unknown";
    }
}

bool contains(const std::vector<Problem>& problems, ProblemKind kind) {
    return std::any_of(problems.begin(), problems.end(),
                       [kind](const Problem& problem) { return problem.kind == kind; });
}

}  // namespace

const char* problemName(ProblemKind kind) {
    switch (kind) {
    case ProblemKind::Usage:
        return "usage";
    case ProblemKind::LibraryNotFound:
        return "library_not_found";
    case ProblemKind::LibraryDependencyMissing:
        return "library_dependency_missing";
    case ProblemKind::LibraryUnusable:
        return "library_unusable";
    case ProblemKind::LibrarySymbolMissing:
        return "library_symbol_missing";
    case ProblemKind::LibraryCallFailed:
        return "library_call_failed";
    case ProblemKind::LibraryCrashed:
        return "library_crashed";
    case ProblemKind::LibraryNotAnswering:
        return "library_not_answering";
    case ProblemKind::NoController:
        return "no_controller";
    case ProblemKind::ControllerNotResponding:
        return "controller_not_responding";
    case ProblemKind::DiskNotResponding:
        return "disk_not_responding";
    case ProblemKind::VolumeNotResponding:
        return "volume_not_responding";
    case ProblemKind::HostFileUnusable:
        return "host_file_unusable";
    case ProblemKind::CaptureFailed:
        return "capture_failed";
    case ProblemKind::CaptureDamaged:
        return "capture_damaged";
    case ProblemKind::NotInCapture:
        return "not_in_capture";
    case ProblemKind::MarkNotStored:
        return "mark_not_stored";
    case ProblemKind::MarkInUse:
        return "mark_in_use";
    case ProblemKind::EventNumbersBeganAnew:
        return "event_numbers_began_anew";
    case ProblemKind::EventsNotSeen:
        return "events_not_seen";
    case ProblemKind::EventsIncomplete:
        return "events_incomplete";
    case ProblemKind::EventsNotReported:
        return "events_not_reported";
    case ProblemKind::LinkUnknown:
        return "link_unknown";
    case ProblemKind::Internal:
        break;
    }
    return "internal_error";
}

std::vector<std::string> problemNames() {
    std::vector<std::string> names;
    for (int kind = 0; kind <= static_cast<int>(ProblemKind::Internal); ++kind) {
        names.emplace_back(problemName(static_cast<ProblemKind>(kind)));
    }
    return names;
}

Problem libraryCallFailed(const std::string& function, int resultCode, const std::string& about) {
    Problem problem;
    problem.kind = ProblemKind::LibraryCallFailed;
    problem.message =
        format("the library's {} failed{}{} with result {} ({})", function,
               about.empty() ? "" : " for ", about, resultCode, resultName(resultCode));
    problem.function = function;
    problem.resultCode = resultCode;
    return problem;
}

Problem didNotAnswer(ProblemKind kind, const std::string& name, const std::string& about) {
    return {kind, name + " did not answer" + (about.empty() ? "" : " the request for " + about)};
}

void addOnce(std::vector<Problem>& problems, const Problem& problem) {
    const bool known = std::any_of(problems.begin(), problems.end(), [&](const Problem& other) {
        return other.kind == problem.kind && other.message == problem.message;
    });
    if (!known) {
        problems.push_back(problem);
    }
}

Json problemToJson(const Problem& problem) {
    Json json;
    json["code"] = problemName(problem.kind);
    json["message"] = problem.message;
    json["function"] = nullptr;
    json["result"] = nullptr;
    json["result_code"] = nullptr;
    if (!problem.function.empty()) {
        json["function"] = problem.function;
    }
    if (problem.resultCode) {
        json["result"] = resultName(*problem.resultCode);
        json["result_code"] = *problem.resultCode;
    }
    return json;
}

ExitCode exitCodeOf(const std::vector<Problem>& problems) {
    if (problems.empty()) {
        return ExitCode::Ok;
    }
    if (contains(problems, ProblemKind::Usage)) {
        return ExitCode::Usage;
    }
    if (contains(problems, ProblemKind::NoController)) {
        return ExitCode::NoController;
    }
    return ExitCode::Failed;
}

}  // namespace veskctl
