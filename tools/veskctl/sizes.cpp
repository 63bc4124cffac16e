#include "veskctl/sizes.h"

#include "veskctl/format.h"

#include <array>
#include <limits>

namespace veskctl {

namespace {

constexpr std::array<const char*, 7> kUnits = {"bytes", "kB", "MB", "GB", "TB", "PB", "EB"};

std::uint64_t powerOfTen(unsigned exponent) {
    std::uint64_t power = 1;
    for (; exponent > 0; --exponent) {
        power *= 10;
    }
    return power;
}

std::string withoutTrailingZeros(std::string number) {
    number.erase(number.find_last_not_of('0') + 1);
    if (number.back() == '.') {
        number.pop_back();
    }
    return number;
}

}  // namespace

std::string sizeText(std::uint64_t bytes) {
    unsigned digits = 1;
    for (std::uint64_t rest = bytes; rest >= 10; rest /= 10) {
        ++digits;
    }
    if (digits < 4) {
        return format("{} {}", bytes, bytes == 1 ? "byte" : kUnits[0]);
    }
    // Four digits, rounded: 9999.5 becomes 1000 with one more before the point.
    const std::uint64_t step = powerOfTen(digits - 4);
    std::uint64_t rounded = bytes / step + (bytes % step >= step - bytes % step ? 1 : 0);
    if (rounded == 10000) {
        rounded = 1000;
        ++digits;
    }
    const unsigned whole = (digits - 1) % 3 + 1;
    std::string number = format("{}", rounded);
    number.insert(whole, ".");
    return format("{} {}", withoutTrailingZeros(number), kUnits.at((digits - 1) / 3));
}

std::optional<std::uint64_t> bytesOf(std::uint64_t blocks, std::uint64_t blockSize) {
    if (blockSize == 0 || blocks > std::numeric_limits<std::uint64_t>::max() / blockSize) {
        return std::nullopt;
    }
    return blocks * blockSize;
}

std::string percentText(const std::optional<unsigned>& percent) {
    return percent ? format("{} %", *percent) : "-";
}

std::string durationText(unsigned seconds) {
    if (seconds >= 3600 && seconds % 3600 == 0) {
        return format("{} h", seconds / 3600);
    }
    if (seconds >= 60 && seconds % 60 == 0) {
        return format("{} min", seconds / 60);
    }
    return format("{} s", seconds);
}

std::optional<unsigned> secondsOf(const std::string& text) {
    constexpr std::uint64_t kYear = 365ULL * 24 * 3600;
    const std::size_t end = text.find_first_not_of("0123456789");
    const std::string number = text.substr(0, end);
    const std::string unit = end == std::string::npos ? "s" : text.substr(end);
    const std::uint64_t factor = unit == "s" ? 1 : unit == "m" ? 60 : unit == "h" ? 3600 : 0;
    if (number.empty() || number.size() > 9 || factor == 0) {
        return std::nullopt;
    }
    const std::uint64_t seconds = std::stoull(number) * factor;
    return seconds > kYear ? std::nullopt : std::optional<unsigned>(static_cast<unsigned>(seconds));
}

}  // namespace veskctl
