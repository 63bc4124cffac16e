#include "sim/scenario/scenario.h"

#include "sim/scenario/built_in_scenarios.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

namespace vesksim {

namespace fs = std::filesystem;

namespace {

bool endsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

std::string readText(const fs::path& file) {
    // A folder opens like a file and only fails when it is read, a FIFO waits, a device never ends.
    std::error_code failure;
    std::ifstream stream;
    if (fs::is_regular_file(file, failure)) {
        stream.open(file, std::ios::binary);
    }
    if (!stream.is_open()) {
        throw ScenarioError(file.string(), "", "the file cannot be read",
                            "Look whether it is a file, exists and may be read");
    }
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

// A scenario may come from somebody else, and its keys and texts get to a terminal. Controls are
// shown as JSON writes them; those from U+0080 to U+009F have C2 in front.
std::string withoutControls(const std::string& text) {
    std::string result;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        const bool second =
            !result.empty() && result.back() == '\xC2' && byte >= 0x80 && byte < 0xA0;
        if (second) {
            result.pop_back();
        }
        if (second || byte < 0x20 || byte == 0x7F) {
            result += fmt::format("\\u{:04x}", byte);
        } else {
            result += character;
        }
    }
    return result;
}

std::string compose(const std::string& source, const std::string& place, const std::string& reason,
                    const std::string& advice) {
    return withoutControls(
        fmt::format("{}: {}{}{}. {}.", source, place, place.empty() ? "" : ": ", reason, advice));
}

}  // namespace

ScenarioError::ScenarioError(const std::string& source, const std::string& place,
                             const std::string& reason, const std::string& advice)
    : std::runtime_error(compose(source, place, reason, advice)) {}

std::vector<Disk> defaultDisks() {
    Disk second;
    second.id = 1;
    second.deviceId = 1;
    second.hdId = 0x101;
    second.serial = "VD00480A000171";
    second.smart.temperatureKelvin = 313;
    return {Disk(), second};
}

std::vector<EventEntry> defaultEvents() {
    return {
        "[SEQ]1[TIME]1790000000[EVT_ID]0x1[DEV_ID]0[MSG]NVMe_Controller started_INFO",
        "[SEQ]2[TIME]1790000002[EVT_ID]0x65[DEV_ID]0[MSG]PD_Drive online_INFO",
        "[SEQ]3[TIME]1790000002[EVT_ID]0x65[DEV_ID]1[MSG]PD_Drive online_INFO",
        "[SEQ]4[TIME]1790000003[EVT_ID]0xC9[DEV_ID]0[MSG]VD_Volume optimal_INFO",
    };
}

std::vector<std::string> builtInScenarios() {
    std::vector<std::string> names;
    for (const BuiltInScenario& scenario : builtInScenarioTexts()) {
        names.emplace_back(scenario.name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

Scenario loadScenario(const std::string& fileOrName) {
    if (fileOrName.find('/') != std::string::npos || endsWith(fileOrName, ".json")) {
        return parseScenario(readText(fileOrName), fileOrName);
    }
    const std::string source = fmt::format("scenario \"{}\"", fileOrName);
    for (const BuiltInScenario& scenario : builtInScenarioTexts()) {
        if (scenario.name == fileOrName) {
            return parseScenario(std::string(scenario.text), source);
        }
    }
    throw ScenarioError(source, "", "there is none of that name",
                        fmt::format("Take one of {}, or name a file with its path or with .json "
                                    "at its end",
                                    fmt::join(builtInScenarios(), ", ")));
}

}  // namespace vesksim
