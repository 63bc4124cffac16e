// How a report becomes text: for people, as a document, as lines, as CSV.
#pragma once

#include "veskctl/command.h"
#include "veskctl/report.h"

#include <string>
#include <vector>

namespace veskctl {

// Stands before all that shows the simulated host.
constexpr const char* kSimulatedHost = "SIMULATED HOST\n";

struct Output {
    std::string standardOutput;
    std::string standardError;
};

// In the format of the context. An empty command name stands for none.
Output renderOutput(const std::string& command, const Report& report,
                    const CommandContext& context);

// The whole document, with a line end. An empty command name reads null.
std::string renderJson(const std::string& command, const Report& report, bool simulated);

// One line, with its end.
std::string renderJsonLine(const Json& json);

// Objects within an item become columns with dots in their titles, arrays stay JSON. The columns
// are those of all items.
std::string renderCsv(const Json& items, bool header);

// The lines for standard error.
std::string renderProblems(const std::vector<Problem>& problems);
std::string renderNotes(const std::vector<std::string>& notes);

}  // namespace veskctl
