// What a command has to say, in both forms, and how it becomes text.
#pragma once

#include "veskctl/problem.h"
#include "veskctl/table.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace veskctl {

// Raised when a field changes its meaning or goes away; new fields do not raise it.
constexpr int kSchemaVersion = 1;

struct Report {
    nlohmann::ordered_json fields = nlohmann::ordered_json::object();  // of the document
    Table table;
    std::string text;                // for people or as lines of JSON, behind the table
    std::vector<std::string> notes;  // lines for standard error that are no problems
    std::vector<Problem> problems;
};

// The whole document, with a line end. An empty command name stands for none and reads null.
std::string renderJson(const std::string& command, const Report& report);

// The lines for standard error.
std::string renderProblems(const std::vector<Problem>& problems);
std::string renderNotes(const std::vector<std::string>& notes);

}  // namespace veskctl
