#include "sim/host/host_state.h"

#include "sim/controller/controller_model.h"
#include "sim/events/event_log.h"
#include "sim/host/host_folder.h"
#include "sim/host/replace_file.h"
#include "sim/host/simulated_host.h"
#include "sim/scenario/strict_json.h"

#include <fmt/format.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <system_error>

namespace vesksim {

namespace fs = std::filesystem;
using nlohmann::json;

namespace {

constexpr const char* kFileName = "controller_state.json";
constexpr const char* kFormat = "state of simulated controllers";
constexpr std::uint64_t kVersion = 1;
constexpr double kMaxSeconds = 1e12;
constexpr std::uint64_t kMaxCount = 0xFFFFFFFFFFFF;

struct SavedState {
    std::uint64_t savedAt = 0;  // seconds since 1970
    ControllerStates controllers;
};

std::uint64_t secondsSince1970() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::seconds>(now).count());
}

// A page as a text of characters U+0000 to U+00FF, one for each byte, without the zeros behind the
// last line: what the log says can be read in the file.
std::string pageToText(const std::uint8_t* page) {
    std::size_t size = EventArea::kPageBytes;
    while (size > 0 && page[size - 1] == 0) {
        --size;
    }
    std::string text;
    for (std::size_t i = 0; i < size; ++i) {
        if (page[i] < 0x80) {
            text += static_cast<char>(page[i]);
        } else {
            text += static_cast<char>(0xC0U | (page[i] >> 6U));
            text += static_cast<char>(0x80U | (page[i] & 0x3FU));
        }
    }
    return text;
}

std::vector<std::uint8_t> pageFromText(const JsonPlace& place) {
    const std::string text = place.text();
    std::vector<std::uint8_t> page;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte < 0x80) {
            page.push_back(byte);
        } else if (byte == 0xC2 || byte == 0xC3) {
            // The reader of JSON lets no text pass in which a second byte is missing.
            const auto second = static_cast<unsigned char>(text.at(++i));
            page.push_back(static_cast<std::uint8_t>(((byte & 3U) << 6U) | (second & 0x3FU)));
        } else {
            place.fail("a character that stands for no byte", "Keep to U+0000 to U+00FF");
        }
    }
    if (page.size() > EventArea::kPageBytes) {
        place.fail(fmt::format("the page has {} bytes", page.size()),
                   fmt::format("Keep to {}", EventArea::kPageBytes));
    }
    page.resize(EventArea::kPageBytes);
    return page;
}

EventLogState readLog(const JsonPlace& place) {
    EventLogState log;
    ObjectReader reader(place);
    log.source = reader.require("source").text();
    log.seconds = reader.require("seconds").decimal(0, kMaxSeconds);
    log.position = static_cast<std::size_t>(
        reader.require("position").wholeNumber(EventArea::kHeaderBytes, EventArea::kAreaBytes));
    log.nextSequence =
        static_cast<std::uint32_t>(reader.require("next_sequence").wholeNumber(0, 0xFFFFFFFF));
    log.scheduledDone =
        static_cast<std::size_t>(reader.require("scheduled_done").wholeNumber(0, kMaxCount));
    log.randomMade = reader.require("random_made").wholeNumber(0, kMaxCount);
    log.nextRandomAt = reader.require("next_random_at").decimal(0, kMaxSeconds);
    const JsonPlace pages = reader.require("pages");
    for (const JsonPlace& page : pages.items()) {
        const std::vector<std::uint8_t> bytes = pageFromText(page);
        log.area.insert(log.area.end(), bytes.begin(), bytes.end());
    }
    if (log.area.size() != EventArea::kAreaBytes) {
        pages.fail(fmt::format("the pages have {} bytes together", log.area.size()),
                   fmt::format("Have {}", EventArea::kAreaBytes));
    }
    reader.finish();
    return log;
}

json writeLog(const EventLogState& log) {
    json pages = json::array();
    for (std::size_t page = 0; page < log.area.size(); page += EventArea::kPageBytes) {
        pages.push_back(pageToText(log.area.data() + page));
    }
    return {{"source", log.source},
            {"seconds", log.seconds},
            {"position", log.position},
            {"next_sequence", log.nextSequence},
            {"scheduled_done", log.scheduledDone},
            {"random_made", log.randomMade},
            {"next_random_at", log.nextRandomAt},
            {"pages", pages}};
}

ControllerState readController(const JsonPlace& place) {
    ControllerState state;
    ObjectReader reader(place);
    for (const JsonPlace& disk : reader.require("locating_disks").items()) {
        state.locatingDisks.push_back(
            static_cast<unsigned>(disk.wholeNumber(0, ControllerModel::kLedSlots - 1)));
    }
    state.events = readLog(reader.require("event_log"));
    reader.finish();
    return state;
}

SavedState parseState(const std::string& text, const std::string& source) {
    const json document = parseStrictJson(text, source);
    const JsonPlace top{document, "", source};
    if (!document.is_object() || document.value("format", json()) != kFormat) {
        top.fail("this file was not written by us", "Name another folder");
    }
    ObjectReader reader(top);
    reader.find("format");
    const JsonPlace version = reader.require("version");
    if (version.value != kVersion) {
        version.fail(fmt::format("the file has version {}", version.value.dump()),
                     fmt::format("This program reads version {}", kVersion));
    }
    SavedState saved;
    saved.savedAt = reader.require("saved_at").wholeNumber(0, kMaxCount);
    const JsonPlace adapters = reader.require("adapters");
    reader.finish();
    if (!adapters.value.is_object()) {
        adapters.fail("an object is wanted", "Have one key for each adapter");
    }
    for (const auto& item : adapters.value.items()) {
        saved.controllers.emplace(
            item.key(),
            readController({item.value(), pointerTo(adapters.pointer, item.key()), source}));
    }
    return saved;
}

// Nothing if there is no file.
std::optional<SavedState> readState(const fs::path& file) {
    const std::string advice = "; move the file away to start with a fresh state.";
    std::error_code failure;
    const fs::file_status status = fs::status(file, failure);
    if (status.type() == fs::file_type::not_found) {
        return std::nullopt;
    }
    std::ifstream stream;
    if (fs::is_regular_file(status)) {
        stream.open(file, std::ios::binary);
    }
    if (!stream.is_open()) {
        throw StateError(fmt::format("{}: the file cannot be read{}", file.string(), advice));
    }
    const std::string text{std::istreambuf_iterator<char>(stream),
                           std::istreambuf_iterator<char>()};
    try {
        return parseState(text, file.string());
    } catch (const ScenarioError& damage) {
        throw StateError(damage.what() + std::string(" Or") + advice.substr(1));
    }
}

}  // namespace

void loadState(const std::string& root) {
    const auto saved = readState(hostFolder(root) / kFileName);
    if (!saved) {
        return;
    }
    const std::uint64_t now = secondsSince1970();
    // A machine's clock may have been set back in between.
    const std::uint64_t since = now > saved->savedAt ? now - saved->savedAt : 0;
    SimulatedHost::instance().restoreControllers(saved->controllers, static_cast<double>(since));
}

void saveState(const std::string& root) {
    const fs::path file = hostFolder(root) / kFileName;
    ControllerStates states = SimulatedHost::instance().controllerStates();
    if (const auto before = readState(file)) {
        states.insert(before->controllers.begin(), before->controllers.end());
    }
    json adapters = json::object();
    for (const auto& [name, state] : states) {
        adapters[name] = {{"locating_disks", state.locatingDisks},
                          {"event_log", writeLog(state.events)}};
    }
    const json document = {{"format", kFormat},
                           {"version", kVersion},
                           {"saved_at", secondsSince1970()},
                           {"adapters", adapters}};
    replaceFile(file, document.dump(2, ' ', true) + "\n");
}

}  // namespace vesksim
