#include "veskctl/watch.h"

#include "veskctl/format.h"
#include "veskctl/printable.h"
#include "veskctl/sizes.h"

#include <algorithm>
#include <ctime>

namespace veskctl {

namespace {

constexpr const char* kHome = "\x1b[H";
constexpr const char* kClearLine = "\x1b[K";
constexpr const char* kClearBelow = "\x1b[J";

}  // namespace

std::string frameOf(const std::string& text, unsigned height) {
    std::string frame = kHome;
    unsigned lines = 0;
    for (std::size_t at = 0; at < text.size(); ++lines) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        if (height != 0 && lines + 1 == height) {
            break;  // the cursor stands in the last line
        }
        frame += text.substr(at, end - at) + kClearLine + '\n';
        at = end + 1;
    }
    return frame + kClearBelow;
}

std::string watchTitle(unsigned seconds, const std::string& commandLine) {
    const std::time_t now = std::time(nullptr);
    std::tm utc = {};
    gmtime_r(&now, &utc);
    return format("Every {}: {}  {:04}-{:02}-{:02}T{:02}:{:02}:{:02}Z\n\n", durationText(seconds),
                  printable(commandLine), utc.tm_year + 1900, utc.tm_mon + 1, utc.tm_mday,
                  utc.tm_hour, utc.tm_min, utc.tm_sec);
}

}  // namespace veskctl
