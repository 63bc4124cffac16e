// fmt::format, with the work of it in one place: in each source anew it costs seconds of building.
#pragma once

#include <fmt/core.h>

#include <string>

namespace veskctl {

std::string formatArguments(fmt::string_view pattern, fmt::format_args arguments);

template <class... Arguments>
std::string format(fmt::format_string<Arguments...> pattern, Arguments&&... arguments) {
    return formatArguments(pattern, fmt::make_format_args(arguments...));
}

}  // namespace veskctl
