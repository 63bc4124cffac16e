#include "veskctl/format.h"

#include <fmt/format.h>

namespace veskctl {

std::string formatArguments(fmt::string_view pattern, fmt::format_args arguments) {
    return fmt::vformat(pattern, arguments);
}

}  // namespace veskctl
