// What can go wrong, as one value: it becomes a line on standard error, an entry of the document's
// `errors`, and the exit code.
#pragma once

#include <nlohmann/json.hpp>

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace veskctl {

enum class ExitCode { Ok = 0, Failed = 1, Usage = 2, NoController = 3 };

enum class ProblemKind {
    Usage,
    LibraryNotFound,
    LibraryDependencyMissing,
    LibraryUnusable,
    LibrarySymbolMissing,
    LibraryCallFailed,
    NoController,
    ControllerNotResponding,
    DiskNotResponding,
    VolumeNotResponding,
    Internal
};

struct Problem {
    ProblemKind kind = ProblemKind::Internal;
    std::string message;
    std::string function = {};                     // the library function, where one failed
    std::optional<int> resultCode = std::nullopt;  // and what it returned
};

// Ends a command early; what it reported up to here stays.
class ProblemError : public std::runtime_error {
public:
    explicit ProblemError(Problem problem)
        : std::runtime_error(problem.message), m_problem(std::move(problem)) {}
    const Problem& problem() const { return m_problem; }

private:
    Problem m_problem;
};

// A library function that returned something other than ERR_NONE. about: what it was asked for, if
// that is not plain from its name.
Problem libraryCallFailed(const std::string& function, int resultCode,
                          const std::string& about = "");

const char* problemName(ProblemKind kind);
nlohmann::ordered_json problemToJson(const Problem& problem);

// A usage error outweighs a missing controller, and that every other problem: without a controller
// nothing else can be expected to work.
ExitCode exitCodeOf(const std::vector<Problem>& problems);

}  // namespace veskctl
