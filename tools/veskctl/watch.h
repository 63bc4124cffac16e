// One look after another on one screen.
#pragma once

#include <string>

namespace veskctl {

// Draws over what stands on the screen without clearing it first, which would flicker. Of lines
// beyond the screen's height (0: not known) the last ones are left out.
std::string frameOf(const std::string& text, unsigned height);

// "Every 2 s: veskctl disks  2026-11-22T01:15:00Z", and an empty line.
std::string watchTitle(unsigned seconds, const std::string& commandLine);

}  // namespace veskctl
