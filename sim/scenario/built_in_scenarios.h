// The files of sim/scenarios as texts. The source is written by embed_scenarios.cmake at build
// time.
#pragma once

#include <string_view>
#include <vector>

namespace vesksim {

struct BuiltInScenario {
    std::string_view name;  // of the file, without .json
    std::string_view text;
};

const std::vector<BuiltInScenario>& builtInScenarioTexts();

}  // namespace vesksim
