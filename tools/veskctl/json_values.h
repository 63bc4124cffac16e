// Values of a document that need more than an assignment.
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <optional>
#include <string>

namespace veskctl {

// Null where there is nothing.
template <class Value>
nlohmann::ordered_json valueOrNull(const std::optional<Value>& value) {
    return value ? nlohmann::ordered_json(*value) : nlohmann::ordered_json();
}

// Many readers keep numbers as doubles: beyond 2^53 those lose digits, so such a number stands
// there a second time, as text, under its name and "_s".
inline void putBigNumber(nlohmann::ordered_json& json, const std::string& name,
                         const std::optional<std::uint64_t>& value) {
    constexpr std::uint64_t kExactInADouble = 1ULL << 53U;
    json[name] = valueOrNull(value);
    if (value && *value > kExactInADouble) {
        json[name + "_s"] = std::to_string(*value);
    }
}

}  // namespace veskctl
