// Changes the mark of delivered events in libVeskNVMeAlertMapping.ini, so that the library reads it
// and can go on from it.
#pragma once

#include <cstdint>
#include <string>

namespace veskctl {

// An advisory lock on the file, among runs of this program: two that read events by one mark would
// both get them. Other programs that have the library loaded do not heed it. It ends where
// replaceText() puts another file in the place of this one.
class MarkLock {
public:
    // Waits for some seconds; then throws ProblemError. A file that cannot be opened or locked is
    // not locked: who may not read it takes no events either.
    explicit MarkLock(const std::string& path);
    ~MarkLock();

    MarkLock(const MarkLock&) = delete;
    MarkLock& operator=(const MarkLock&) = delete;

private:
    // False while another one has it.
    bool take(const std::string& path);

    int m_descriptor = -1;
};

// The text of the file with another number. All line ends stay, but for one behind the mark that
// the library would stumble over. Throws ProblemError if the library would misread the result.
std::string withMark(const std::string& text, const std::string& path, std::uint32_t number);

// The same for a text that only the library is to read: never throws, drops what stands in the way.
std::string copyWithMark(const std::string& text, std::uint32_t number);

// Puts the text into the file; owner, rights and links stay. Whoever reads it meanwhile, or after a
// kill, finds the text before or this one, unless no file can be put beside it: then it is written
// in place. Throws ProblemError.
void replaceText(const std::string& path, const std::string& before, const std::string& after);

// Beside the file; what it is named. Throws ProblemError.
std::string backUp(const std::string& path, const std::string& text);

}  // namespace veskctl
