// JSON reading that lets nothing slip: no duplicate, unknown or mistyped key and no number out of
// range. Each failure is a ScenarioError with the place as JSON pointer, or line and column.
#pragma once

#include "sim/scenario/scenario.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace vesksim {

nlohmann::json parseStrictJson(const std::string& text, const std::string& source);

std::string pointerTo(const std::string& parent, const std::string& key);
std::string pointerTo(const std::string& parent, std::size_t index);

// A value together with where it stands.
struct JsonPlace {
    const nlohmann::json& value;
    std::string pointer;
    const std::string& source;

    [[noreturn]] void fail(const std::string& reason, const std::string& advice) const;
    std::uint64_t wholeNumber(std::uint64_t min, std::uint64_t max) const;
    double decimal(double min, double max) const;
    std::string text() const;
    // A text, or {"hex": "..."} for bytes that no JSON text can hold.
    std::string bytes() const;
    bool flag() const;
    std::vector<JsonPlace> items() const;
};

// Reads the keys of one object. A key that is absent leaves the target as it is.
class ObjectReader {
public:
    explicit ObjectReader(const JsonPlace& place);

    // The value behind the key, or nothing; the key counts as known from then on.
    std::optional<JsonPlace> find(const std::string& key);
    JsonPlace require(const std::string& key);

    template <typename Number>
    void number(const std::string& key, Number& target,
                std::uint64_t max = std::numeric_limits<Number>::max()) {
        if (const auto place = find(key)) {
            target = static_cast<Number>(place->wholeNumber(0, max));
        }
    }
    void text(const std::string& key, std::string& target);
    void bytes(const std::string& key, std::string& target);
    void flag(const std::string& key, bool& target);
    template <typename Item, typename Read>
    void list(const std::string& key, std::vector<Item>& target, Read read) {
        if (const auto place = find(key)) {
            target.clear();
            for (const JsonPlace& item : place->items()) {
                target.push_back(read(item));
            }
        }
    }

    // To be called last: fails on a key that nobody asked for.
    void finish() const;

private:
    JsonPlace m_place;
    std::vector<std::string> m_known;
};

}  // namespace vesksim
