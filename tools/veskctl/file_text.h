// A file of the host as a text, read so that nothing that lies there can hold the program up: no
// waiting for a pipe, no endless device, no more memory than a bound.
#pragma once

#include <cstdint>
#include <string>

namespace veskctl {

enum class FileState {
    Missing,
    Read,
    Denied,    // no right to read it
    Folder,    // a folder has its name
    Special,   // a pipe, a device, a socket
    TooLarge,  // beyond kLargestHostFile, and not read
    Failed     // for another reason
};

constexpr std::uint64_t kLargestHostFile = 1U << 20U;

struct FileText {
    std::string path;  // as the host knows it
    FileState state = FileState::Missing;
    std::uint64_t size = 0;  // bytes
    bool writable = false;   // whether this process may change it
    std::string text;        // of Read
    std::string reason;      // of Failed, by the system

    // What fopen of the C library does with it: a folder and a pipe are opened as well.
    bool canBeOpened() const {
        return state != FileState::Missing && state != FileState::Denied &&
               state != FileState::Failed;
    }
};

// Where the program finds a path of the host: below the root if there is one. Relative paths are
// those of the current folder.
std::string underRoot(const std::string& hostRoot, const std::string& path);

FileText readHostFile(const std::string& hostRoot, const std::string& path);

// "a folder", "no right to read it"; empty for Read.
std::string whyUnread(const FileText& file);

}  // namespace veskctl
