// Bytes as a text of letters, digits, '+', '/' and '=' (RFC 4648, section 4).
#pragma once

#include <optional>
#include <string>

namespace veskctl {

std::string toBase64(const std::string& bytes);

// Empty for a text that toBase64 does not give.
std::optional<std::string> fromBase64(const std::string& text);

}  // namespace veskctl
