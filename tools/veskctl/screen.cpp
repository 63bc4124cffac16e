#include "veskctl/screen.h"

#include <cstdlib>
#include <cstring>

#include <sys/ioctl.h>
#include <unistd.h>

namespace veskctl {

namespace {

winsize sizeOfTerminal() {
    winsize size = {};
    static_cast<void>(ioctl(STDOUT_FILENO, TIOCGWINSZ, &size));  // zeros if it does not tell
    return size;
}

}  // namespace

Screen standardScreen() {
    Screen screen;
    screen.terminal = isatty(STDOUT_FILENO) == 1;
    screen.takesColour =
        colourWanted(screen.terminal, std::getenv("NO_COLOR"), std::getenv("TERM"));
    const winsize size = screen.terminal ? sizeOfTerminal() : winsize();
    screen.width = widthWanted(std::getenv("COLUMNS"), size.ws_col);
    screen.height = size.ws_row;
    return screen;
}

bool colourWanted(bool isTerminal, const char* noColor, const char* term) {
    const bool refused = noColor != nullptr && *noColor != '\0';
    const bool dumb = term != nullptr && std::strcmp(term, "dumb") == 0;
    return isTerminal && !refused && !dumb;
}

unsigned widthWanted(const char* columns, unsigned ofTerminal) {
    constexpr unsigned long kMost = 10000;
    if (columns != nullptr) {
        char* end = nullptr;
        const unsigned long wanted = std::strtoul(columns, &end, 10);
        if (end != columns && *end == '\0' && *columns != '-' && wanted > 0 && wanted <= kMost) {
            return static_cast<unsigned>(wanted);
        }
    }
    return ofTerminal;
}

}  // namespace veskctl
