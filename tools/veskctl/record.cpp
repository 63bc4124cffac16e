#include "veskctl/record.h"

#include "veskctl/format.h"

#include <cstring>

namespace veskctl {

namespace {

std::string trimmed(const std::string& text) {
    const std::size_t first = text.find_first_not_of(' ');
    if (first == std::string::npos) {
        return "";
    }
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

}  // namespace

std::uint16_t read16(const std::uint8_t* bytes) {
    return static_cast<std::uint16_t>(bytes[0] | (bytes[1] << 8U));
}

std::uint32_t read32(const std::uint8_t* bytes) {
    return read16(bytes) | (static_cast<std::uint32_t>(read16(bytes + 2)) << 16U);
}

std::string fieldText(const char* field, std::size_t room) {
    return std::string(field, strnlen(field, room));
}

std::optional<std::string> timeText(std::time_t time) {
    std::tm utc = {};
    if (gmtime_r(&time, &utc) == nullptr || utc.tm_year + 1900 > 9999) {
        return std::nullopt;
    }
    return format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}Z", utc.tm_year + 1900, utc.tm_mon + 1,
                  utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec);
}

std::optional<std::string> deviceText(const std::string& text, Padding padding) {
    const std::string wanted = padding == Padding::Trim ? trimmed(text) : text;
    return wanted.empty() ? std::nullopt : std::optional<std::string>(wanted);
}

std::optional<bool> presentOrUnknown(Presence presence) {
    if (presence == Presence::Unknown) {
        return std::nullopt;
    }
    return presence == Presence::Present;
}

}  // namespace veskctl
