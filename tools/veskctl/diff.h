// What changed between two moments.
#pragma once

#include "veskctl/problem.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace veskctl {

struct Command;

struct Change {
    std::string subject;  // "disk 1", "volume 0", "controller", "verdict", "finding", "event"
    std::string field;    // its name in documents; empty: the subject came or went
    Json before;          // null: it was not there, or not known
    Json after;
    std::string text;  // in words
};

// Of two documents of `dump`. In the order of the documents.
std::vector<Change> changesBetween(const Json& before, const Json& after);

Command diffCommand();

}  // namespace veskctl
