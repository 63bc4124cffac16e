// What can go wrong, as one value: it becomes a line on standard error, an entry of the document's
// `errors`, and the exit code.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <exception>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace veskctl {

using Json = nlohmann::ordered_json;  // documents keep the order in which they are filled

enum class ExitCode { Ok = 0, Failed = 1, Usage = 2, NoController = 3 };

enum class ProblemKind {
    Usage,
    LibraryNotFound,
    LibraryDependencyMissing,
    LibraryUnusable,
    LibrarySymbolMissing,
    LibraryCallFailed,
    LibraryCrashed,
    LibraryNotAnswering,
    NoController,
    ControllerNotResponding,
    DiskNotResponding,
    VolumeNotResponding,
    HostFileUnusable,
    CaptureFailed,
    CaptureDamaged,
    NotInCapture,
    MarkNotStored,
    MarkInUse,
    EventNumbersBeganAnew,
    EventsNotSeen,
    EventsIncomplete,
    EventsNotReported,
    LinkUnknown,
    Internal  // the last one
};

struct Problem {
    ProblemKind kind = ProblemKind::Internal;
    std::string message;
    std::string function = {};                     // the library function, where one failed
    std::optional<int> resultCode = std::nullopt;  // and what it returned
};

// A library function that returned something other than ERR_NONE. about: what it was asked for, if
// that is not plain from its name.
Problem libraryCallFailed(const std::string& function, int resultCode,
                          const std::string& about = "");

// name: the part that is silent. about: what of it was asked for, if it is not silent altogether.
Problem didNotAnswer(ProblemKind kind, const std::string& name, const std::string& about = "");

// Its name in documents, as "no_controller".
const char* problemName(ProblemKind kind);
std::vector<std::string> problemNames();

Json problemToJson(const Problem& problem);

// A usage error outweighs a missing controller, and that every other problem: without a controller
// nothing else can be expected to work.
ExitCode exitCodeOf(const std::vector<Problem>& problems);

// Ends a command early; what it reported up to here stays.
class ProblemError : public std::runtime_error {
public:
    explicit ProblemError(Problem problem)
        : std::runtime_error(problem.message), m_problem(std::move(problem)) {}
    const Problem& problem() const { return m_problem; }

private:
    Problem m_problem;
};

// Options that are well-formed and cannot be honoured.
class UsageError : public ProblemError {
public:
    explicit UsageError(const std::string& message) : ProblemError({ProblemKind::Usage, message}) {}
};

// Unless the same is there: a library that has ended is noticed at each call.
void addOnce(std::vector<Problem>& problems, const Problem& problem);

// Runs the work; what it throws becomes a problem of the part with this name, so that it does not
// end the rest. The library may throw.
template <class Work>
void guarded(const std::string& name, std::vector<Problem>& problems, Work work) {
    try {
        work();
    } catch (const ProblemError& error) {
        addOnce(problems, error.problem());
    } catch (const std::exception& error) {
        problems.push_back({ProblemKind::Internal, name + " cannot be read: " + error.what()});
    }
}

}  // namespace veskctl
