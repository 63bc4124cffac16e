// Quantities as people write them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace veskctl {

// In decimal units and four digits at most: "480.1 GB", "1.92 TB", "512 bytes".
std::string sizeText(std::uint64_t bytes);

// Empty if the product has no room in 64 bits, or if there are no blocks.
std::optional<std::uint64_t> bytesOf(std::uint64_t blocks, std::uint64_t blockSize);

// "104 %", "-" where there is nothing.
std::string percentText(const std::optional<unsigned>& percent);

// The largest unit that divides it: "5 min", "90 s", "1 h".
std::string durationText(unsigned seconds);

// "90", "90s", "5m", "1h" in seconds. Empty if it is anything else, or more than a year.
std::optional<unsigned> secondsOf(const std::string& text);

}  // namespace veskctl
