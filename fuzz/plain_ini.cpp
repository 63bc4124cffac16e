#include "plain_ini.h"

#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdlib>
#include <vector>

namespace veskfuzz {
namespace {

std::vector<std::string> linesOf(const std::string& file) {
    std::vector<std::string> lines(1);
    for (const char byte : file) {
        if (byte == '\n') {
            lines.emplace_back();
        } else {
            lines.back() += byte;
        }
    }
    if (lines.back().empty()) {
        lines.pop_back();  // nothing behind the last line end is no line
    }
    return lines;
}

std::string withoutReturn(std::string line) {
    if (!line.empty() && line.back() == '\r') {
        line.pop_back();
    }
    return line;
}

bool beginsWith(const std::string& line, const std::string& beginning) {
    return line.size() >= beginning.size() && line.substr(0, beginning.size()) == beginning;
}

}  // namespace

std::optional<std::string> plainValue(const std::string& file, const std::string& section,
                                      const std::string& key) {
    bool inSection = false;
    for (const std::string& line : linesOf(file)) {
        if (!inSection) {
            inSection = withoutReturn(line) == "[" + section + "]";
        } else if (beginsWith(line, "[")) {
            return std::nullopt;
        } else if (!beginsWith(line, ";") && beginsWith(line, key)) {
            if (line.size() == key.size()) {
                throw KeyAlone(line);
            }
            return withoutReturn(line.substr(key.size() + 1));
        }
    }
    return std::nullopt;
}

int plainNumber(const std::string& text, int fallback) {
    errno = 0;
    char* end = nullptr;
    const long number = std::strtol(text.c_str(), &end, 10);
    const bool good = end != text.c_str() && errno == 0 && number >= INT_MIN && number <= INT_MAX;
    return good ? static_cast<int>(number) : fallback;
}

std::string withPlainMark(const std::string& file, int mark) {
    const std::size_t equalsSign = file.rfind('=');
    if (equalsSign == std::string::npos) {
        return file;
    }
    const std::string number = std::to_string(mark);
    const std::size_t oldLength = file.size() - 1 - equalsSign;
    std::string result = file.substr(0, equalsSign + 1);
    if (oldLength > number.size() + 1) {
        // Filled up from the front, so that the file keeps its size.
        result += std::string(oldLength - number.size(), '\0') + number;
    } else {
        result += number;
        if (result.size() < file.size()) {
            result += file.substr(result.size());
        }
    }
    return result;
}

}  // namespace veskfuzz
