// Putting a whole file in the place of another, so that nobody ever reads half of it.
#pragma once

#include <string>

namespace veskctl {

// Modes of files: what everybody may read, and what serial numbers may stand in, as the capture
// library makes its files.
constexpr unsigned kForAll = 0644;
constexpr unsigned kForOwnerOnly = 0600;

// Writes the text beside the path, then renames it. Throws ProblemError, and leaves the old file as
// it was.
void replaceFile(const std::string& path, const std::string& text, unsigned mode = kForAll);

// The same for a file that is there and belongs to others: owner, rights and symbolic links to it
// stay. False, and nothing has changed, where that cannot be: the folder lets no file be made or
// renamed, the file is a mount or has a second name, its owner cannot be given.
bool replaceFileAlike(const std::string& path, const std::string& text);

}  // namespace veskctl
