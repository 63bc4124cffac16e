// Writes a file in one step: who opens it finds the old text or the new one, never a part, also
// behind a process that was killed on the way.
#pragma once

#include <filesystem>
#include <string>

namespace vesksim {

// Written beside, under a name that is this process's own, and renamed. A process that is killed
// before it renames leaves that file, FILE.PID.new, which nobody reads. Throws std::system_error.
void replaceFile(const std::filesystem::path& file, const std::string& text);

}  // namespace vesksim
