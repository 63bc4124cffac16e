#include "veskctl/report.h"

namespace veskctl {

void putBigNumber(Json& json, const std::string& name, const std::optional<std::uint64_t>& value) {
    constexpr std::uint64_t kExactInADouble = 1ULL << 53U;
    json[name] = valueOrNull(value);
    if (value && *value > kExactInADouble) {
        json[name + "_s"] = std::to_string(*value);
    }
}

}  // namespace veskctl
