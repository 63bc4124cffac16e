// Putting a whole file in the place of another, so that nobody ever reads half of it.
#pragma once

#include <string>

namespace veskctl {

// Writes the text beside the path, then renames it. mode: of the file, by default readable for
// everybody. Throws ProblemError, and leaves the old file as it was.
void replaceFile(const std::string& path, const std::string& text, unsigned mode = 0644);

// The same for a file that is there and belongs to others: owner, rights and symbolic links to it
// stay. False, and nothing has changed, where that cannot be: the folder lets no file be made or
// renamed, the file is a mount or has a second name, its owner cannot be given.
bool replaceFileAlike(const std::string& path, const std::string& text);

}  // namespace veskctl
