#include "capture/say.h"

#include "capture/held_signals.h"

#include <cstdio>
#include <cstring>

#include <unistd.h>

namespace veskcap {

void say(const char* what, const char* detail) noexcept {
    char line[5120];
    std::snprintf(line, sizeof(line) - 1, "libvesk-capture: %s%s", what, detail);
    std::strcat(line, "\n");
    const HeldSignals held;
    if (write(STDERR_FILENO, line, std::strlen(line)) < 0) {
        // Nobody listens.
    }
}

}  // namespace veskcap
