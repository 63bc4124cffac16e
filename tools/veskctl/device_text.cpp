#include "veskctl/device_text.h"

#include <nlohmann/json.hpp>

#include <cstring>

namespace veskctl {

namespace {

std::string validUtf8(const std::string& text) {
    using Json = nlohmann::json;
    const std::string quoted = Json(text).dump(-1, ' ', false, Json::error_handler_t::replace);
    return Json::parse(quoted).get<std::string>();
}

bool isControl(char character) {
    const auto code = static_cast<unsigned char>(character);
    return code < 0x20 || code == 0x7F;
}

// U+0080 to U+009F, which terminals take for controls as well.
bool isSecondaryControl(const std::string& text, std::size_t at) {
    return text[at] == '\xC2' && at + 1 < text.size() &&
           static_cast<unsigned char>(text[at + 1]) < 0xA0;
}

std::string trimmed(const std::string& text) {
    const std::size_t first = text.find_first_not_of(' ');
    if (first == std::string::npos) {
        return "";
    }
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

}  // namespace

std::string fieldText(const char* field, std::size_t room) {
    return std::string(field, strnlen(field, room));
}

std::optional<std::string> deviceText(const std::string& text, Padding padding) {
    const std::string wanted = padding == Padding::Trim ? trimmed(text) : text;
    return wanted.empty() ? std::nullopt : std::optional<std::string>(wanted);
}

std::string printable(const std::string& text) {
    const std::string valid = validUtf8(text);
    std::string result;
    for (std::size_t at = 0; at < valid.size(); ++at) {
        if (isSecondaryControl(valid, at)) {
            result += '?';
            ++at;
        } else {
            result += isControl(valid[at]) ? '?' : valid[at];
        }
    }
    return result;
}

}  // namespace veskctl
