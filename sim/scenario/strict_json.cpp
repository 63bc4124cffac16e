#include "sim/scenario/strict_json.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <set>

namespace vesksim {

using nlohmann::json;

namespace {

// Follows the parser to know where it is, since the parser itself lets the last of two equal keys
// win without a word.
class DuplicateFinder {
public:
    explicit DuplicateFinder(const std::string& source) : m_source(source) {}

    void see(json::parse_event_t event, const json& parsed) {
        switch (event) {
        case json::parse_event_t::object_start:
            m_frames.push_back({false, 0, {}, {}});
            break;
        case json::parse_event_t::array_start:
            m_frames.push_back({true, 0, {}, {}});
            break;
        case json::parse_event_t::key:
            seeKey(parsed.get<std::string>());
            break;
        case json::parse_event_t::object_end:
        case json::parse_event_t::array_end:
            m_frames.pop_back();
            valueDone();
            break;
        case json::parse_event_t::value:
            valueDone();
            break;
        }
    }

private:
    struct Frame {
        bool isArray;
        std::size_t index;
        std::string key;
        std::set<std::string> keys;
    };

    void seeKey(const std::string& key) {
        m_frames.back().key = key;
        if (!m_frames.back().keys.insert(key).second) {
            std::string pointer;
            for (const Frame& frame : m_frames) {
                pointer =
                    frame.isArray ? pointerTo(pointer, frame.index) : pointerTo(pointer, frame.key);
            }
            throw ScenarioError(m_source, pointer, "the key stands here twice",
                                "Take one of the two out");
        }
    }

    void valueDone() {
        if (!m_frames.empty()) {
            ++m_frames.back().index;
        }
    }

    const std::string& m_source;
    std::vector<Frame> m_frames;
};

bool isHex(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

}  // namespace

json parseStrictJson(const std::string& text, const std::string& source) {
    DuplicateFinder duplicates(source);
    try {
        return json::parse(text, [&](int, json::parse_event_t event, json& parsed) {
            duplicates.see(event, parsed);
            return true;
        });
    } catch (const json::exception& failure) {
        // The message starts with the name of an exception class in brackets, which helps nobody.
        std::string message = failure.what();
        const std::size_t bracket = message.find("] ");
        if (bracket != std::string::npos) {
            message.erase(0, bracket + 2);
        }
        throw ScenarioError(source, "", message, "Correct the JSON there");
    }
}

std::string pointerTo(const std::string& parent, const std::string& key) {
    std::string pointer = parent + '/';
    for (const char c : key) {
        pointer += c == '~' ? "~0" : c == '/' ? "~1" : std::string(1, c);
    }
    return pointer;
}

std::string pointerTo(const std::string& parent, std::size_t index) {
    return fmt::format("{}/{}", parent, index);
}

void JsonPlace::fail(const std::string& reason, const std::string& advice) const {
    throw ScenarioError(source, pointer.empty() ? "the top level" : pointer, reason, advice);
}

std::uint64_t JsonPlace::wholeNumber(std::uint64_t min, std::uint64_t max) const {
    const std::string advice = fmt::format("Write a whole number from {} to {}", min, max);
    if (!value.is_number()) {
        fail(fmt::format("a number is wanted, and here is {}", value.type_name()), advice);
    }
    if (!value.is_number_unsigned() || value.get<std::uint64_t>() < min ||
        value.get<std::uint64_t>() > max) {
        fail(fmt::format("{} is not in the range of this number", value.dump()), advice);
    }
    return value.get<std::uint64_t>();
}

double JsonPlace::decimal(double min, double max) const {
    const std::string advice = fmt::format("Write a number from {} to {}", min, max);
    if (!value.is_number()) {
        fail(fmt::format("a number is wanted, and here is {}", value.type_name()), advice);
    }
    const auto number = value.get<double>();
    if (number < min || number > max) {
        fail(fmt::format("{} is not in the range of this number", value.dump()), advice);
    }
    return number;
}

std::string JsonPlace::text() const {
    if (!value.is_string()) {
        fail(fmt::format("a text is wanted, and here is {}", value.type_name()),
             "Write a text in double quotes");
    }
    return value.get<std::string>();
}

std::string JsonPlace::bytes() const {
    if (!value.is_object()) {
        return text();
    }
    ObjectReader reader(*this);
    const JsonPlace place = reader.require("hex");
    reader.finish();
    std::string digits = place.text();
    digits.erase(std::remove(digits.begin(), digits.end(), ' '), digits.end());
    const bool good = digits.size() % 2 == 0 && std::all_of(digits.begin(), digits.end(), isHex);
    if (!good) {
        place.fail("these are no bytes", "Write two hexadecimal digits for each byte");
    }
    std::string bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    }
    return bytes;
}

bool JsonPlace::flag() const {
    if (!value.is_boolean()) {
        fail(fmt::format("true or false is wanted, and here is {}", value.type_name()),
             "Write true or false, without quotes");
    }
    return value.get<bool>();
}

std::vector<JsonPlace> JsonPlace::items() const {
    if (!value.is_array()) {
        fail(fmt::format("an array is wanted, and here is {}", value.type_name()),
             "Put what belongs here between [ and ]");
    }
    std::vector<JsonPlace> places;
    for (std::size_t i = 0; i < value.size(); ++i) {
        places.push_back({value[i], pointerTo(pointer, i), source});
    }
    return places;
}

ObjectReader::ObjectReader(const JsonPlace& place) : m_place(place) {
    if (!place.value.is_object()) {
        place.fail(fmt::format("an object is wanted, and here is {}", place.value.type_name()),
                   "Put what belongs here between { and }");
    }
}

std::optional<JsonPlace> ObjectReader::find(const std::string& key) {
    m_known.push_back(key);
    const auto found = m_place.value.find(key);
    if (found == m_place.value.end()) {
        return std::nullopt;
    }
    return JsonPlace{*found, pointerTo(m_place.pointer, key), m_place.source};
}

JsonPlace ObjectReader::require(const std::string& key) {
    auto place = find(key);
    if (!place) {
        m_place.fail(fmt::format("the key \"{}\" is missing", key), "Add it");
    }
    return *place;
}

void ObjectReader::text(const std::string& key, std::string& target) {
    if (const auto place = find(key)) {
        target = place->text();
    }
}

void ObjectReader::bytes(const std::string& key, std::string& target) {
    if (const auto place = find(key)) {
        target = place->bytes();
    }
}

void ObjectReader::flag(const std::string& key, bool& target) {
    if (const auto place = find(key)) {
        target = place->flag();
    }
}

void ObjectReader::finish() const {
    for (const auto& item : m_place.value.items()) {
        if (std::find(m_known.begin(), m_known.end(), item.key()) == m_known.end()) {
            throw ScenarioError(
                m_place.source, pointerTo(m_place.pointer, item.key()), "the key is not known here",
                fmt::format("Take it out, or write one of {}", fmt::join(m_known, ", ")));
        }
    }
}

}  // namespace vesksim
