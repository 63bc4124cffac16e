// Putting a whole file in the place of another, so that nobody ever reads half of it.
#pragma once

#include <string>

namespace veskctl {

// Writes the text beside the path, then renames it. Readable for everybody. Throws ProblemError,
// and leaves the old file as it was.
void replaceFile(const std::string& path, const std::string& text);

}  // namespace veskctl
