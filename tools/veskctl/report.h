// What a command has to say, to people and to programs.
#pragma once

#include "veskctl/blocks.h"
#include "veskctl/grid.h"
#include "veskctl/problem.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace veskctl {

// Raised when a field changes its meaning or goes away; new fields do not raise it.
constexpr int kSchemaVersion = 1;

struct Report {
    Json fields = Json::object();  // of the document
    // The array of `fields` that is written line by line as NDJSON, and row by row as CSV. Empty:
    // the document is the one item.
    std::string items;

    // For people, in this order. Lines of texts may be broken at blanks to fit the screen.
    std::string lead;
    Blocks blocks;
    Grid grid;
    std::string text;

    std::vector<std::string> notes;  // lines for standard error that are no problems
    std::vector<Problem> problems;
    // Of a command whose exit code is an answer. Problems outweigh it.
    std::optional<int> exitCode = std::nullopt;

    // Called once all of it was written, and only then; a problem counts for the exit code.
    std::function<std::optional<Problem>()> afterWriting;

    // Of a usage error: the command to ask about, if it is not the one that was called.
    std::optional<std::string> askAbout = std::nullopt;

    std::string host;          // its name; empty: no host was looked at
    bool simulated = false;    // what was shown is the simulated host
    bool forPrograms = false;  // `text` is read by programs: nothing is put before it or changed
    bool streamed = false;     // the command has written all but problems and notes itself
};

// Null where there is nothing.
template <class Value>
Json valueOrNull(const std::optional<Value>& value) {
    return value ? Json(*value) : Json();
}

// Many readers keep numbers as doubles: beyond 2^53 those lose digits, so such a number stands
// there a second time, as text, under its name and "_s".
void putBigNumber(Json& json, const std::string& name, const std::optional<std::uint64_t>& value);

}  // namespace veskctl
