// Putting a whole file in the place of another, so that nobody ever reads half of it.
#pragma once

#include <string>

namespace veskctl {

// Writes the text beside the path, then renames it. mode: of the file, by default readable for
// everybody. Throws ProblemError, and leaves the old file as it was.
void replaceFile(const std::string& path, const std::string& text, unsigned mode = 0644);

}  // namespace veskctl
