// The mapping file by hand: one lookup, and the rewrite of the mark, with no more than the system
// calls that they need.
#pragma once

#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <unistd.h>

namespace bench {

// `rows` rows "1=1001", "2=1002", ... of physical disks, and the mark.
inline std::string mappingText(int rows) {
    std::string text = "[Adapter]\n[VirtualDevice]\n[PhysicalDevice]\n";
    for (int row = 1; row <= rows; ++row) {
        text += std::to_string(row) + "=" + std::to_string(1000 + row % 60000) + "\n";
    }
    return text + "[EventSequenceNumber]\nSequenceNumber=0\n";
}

// The number behind the key of a section; -1 if it is not there.
inline long floorLookup(const char* path, std::string_view header, std::string_view key) {
    static thread_local char s_text[1 << 20];
    const int file = open(path, O_RDONLY | O_CLOEXEC);
    const char* const end = s_text + read(file, s_text, sizeof s_text - 1);
    close(file);
    bool inSection = false;
    const char* line = s_text;
    while (line < end) {
        const auto length = static_cast<std::size_t>(end - line);
        const void* const lineFeed = std::memchr(line, '\n', length);
        const char* const lineEnd = lineFeed == nullptr ? end : static_cast<const char*>(lineFeed);
        if (*line == '[') {
            if (inSection) {
                return -1;
            }
            inSection = std::string_view(line, static_cast<std::size_t>(lineEnd - line)) == header;
        } else if (inSection && *line == key.front() && length > key.size() &&
                   std::memcmp(line, key.data(), key.size()) == 0) {
            return std::strtol(line + key.size() + 1, nullptr, 10);
        }
        line = lineEnd + 1;
    }
    return -1;
}

// Puts the number behind the last "=" of the file, which is in its last bytes.
inline void floorRewrite(const char* path, long number) {
    char tail[64];
    const int file = open(path, O_RDWR | O_CLOEXEC);
    const off_t size = lseek(file, 0, SEEK_END);
    const off_t from = size - static_cast<off_t>(sizeof tail);
    const ssize_t length = pread(file, tail, sizeof tail, from);
    const void* const sign = memrchr(tail, '=', static_cast<std::size_t>(length));
    const std::string text = std::to_string(number);
    if (sign == nullptr) {
        std::abort();
    }
    const off_t place = from + (static_cast<const char*>(sign) - tail) + 1;
    if (pwrite(file, text.data(), text.size(), place) < 0) {
        std::abort();
    }
    close(file);
}

}  // namespace bench
