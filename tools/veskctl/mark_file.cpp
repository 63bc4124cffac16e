#include "veskctl/mark_file.h"

#include "veskctl/file_replacement.h"
#include "veskctl/format.h"
#include "veskctl/problem.h"
#include "veskctl/sequence_mark.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace veskctl {

namespace {

constexpr std::chrono::milliseconds kLockPause(20);
constexpr int kLockAttempts = 500;  // ten seconds

[[noreturn]] void failed(const std::string& path, int error) {
    throw ProblemError({ProblemKind::MarkNotStored,
                        format("the mark of delivered events cannot be stored in {}: {}; the same "
                               "events will come again",
                               path, std::strerror(error))});
}

// Without the characters that end it.
std::string bare(const std::string& line) {
    return line.substr(0, std::min(line.find_last_not_of("\r\n") + 1, line.size()));
}

// Each with its line end.
std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find('\n', at), text.size() - 1) + 1;
        lines.push_back(text.substr(at, end - at));
        at = end;
    }
    return lines;
}

bool isMark(const std::string& line) {
    const std::size_t begin = line.find_first_not_of(" \t");
    return begin != std::string::npos && line.compare(begin, std::strlen(kMarkKey), kMarkKey) == 0;
}

// Behind the mark: what is left of a longer number where one was written in place and not cut off.
// As a row it would be one without a code, at which deliveries fail.
bool isRestOfNumber(const std::string& line) {
    const std::string text = bare(line);
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

std::string markHeader() {
    return format("[{}]", kMarkSection);
}

// False if not everything went in.
bool writeAll(int descriptor, const std::string& text, std::size_t from) {
    std::size_t at = from;
    while (at < text.size()) {
        const ssize_t now =
            pwrite(descriptor, text.data() + at, text.size() - at, static_cast<off_t>(at));
        if (now == -1 && errno != EINTR) {
            return false;
        }
        at += now > 0 ? static_cast<std::size_t>(now) : 0;
    }
    return ftruncate(descriptor, static_cast<off_t>(text.size())) == 0;
}

bool isFileAt(const std::string& path, int descriptor) {
    struct stat there = {};
    struct stat open = {};
    return stat(path.c_str(), &there) == 0 && fstat(descriptor, &open) == 0 &&
           there.st_dev == open.st_dev && there.st_ino == open.st_ino;
}

}  // namespace

MarkLock::MarkLock(const std::string& path) {
    for (int attempt = 0; !take(path); ++attempt) {
        if (attempt == kLockAttempts) {
            throw ProblemError({ProblemKind::MarkInUse,
                                format("another veskctl has held {} for 10 seconds; wait until it "
                                       "has taken its events, or end it",
                                       path)});
        }
        std::this_thread::sleep_for(kLockPause);
    }
}

// Opened anew each time: who holds the lock may put another file in its place.
bool MarkLock::take(const std::string& path) {
    m_descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (m_descriptor == -1) {
        return true;
    }
    const bool locked = flock(m_descriptor, LOCK_EX | LOCK_NB) == 0;
    const bool waiting =
        locked ? !isFileAt(path, m_descriptor) : errno == EWOULDBLOCK || errno == EINTR;
    if (waiting) {
        close(m_descriptor);
        m_descriptor = -1;
    }
    return !waiting;
}

MarkLock::~MarkLock() {
    if (m_descriptor != -1) {
        close(m_descriptor);
    }
}

std::string withMark(const std::string& text, const std::string& path, std::uint32_t number) {
    const bool crlf = text.find("\r\n") != std::string::npos;
    std::string head;
    std::string header = markHeader() + (crlf ? "\r\n" : "\n");
    bool behindMark = false;
    // All but the mark and its header, which go to the end: the library writes behind the last "=".
    for (const std::string& line : linesOf(text)) {
        if (bare(line) == markHeader()) {
            header = line;
        } else if (!isMark(line) && !(behindMark && isRestOfNumber(line))) {
            head += line;
        }
        behindMark = isMark(line);
    }
    if (!head.empty() && head.back() != '\n') {
        head += crlf ? "\r\n" : "\n";
    }
    // Two characters behind the number are one too many for the library, so CRLF cannot stand here.
    std::string result = head + header + format("{}={}", kMarkKey, number) + (crlf ? "" : "\n");
    std::vector<Finding> findings;
    const SequenceMark mark = readSequenceMark(result, path, findings);
    if (!mark.sound || mark.value != static_cast<std::int32_t>(number)) {
        throw ProblemError({ProblemKind::MarkNotStored,
                            format("{}: the library would misread the mark {}{}", path, number,
                                   findings.empty() ? "" : ": " + findings.front().text)});
    }
    return result;
}

std::string copyWithMark(const std::string& text, std::uint32_t number) {
    std::string copy;
    for (const std::string& line : linesOf(text)) {
        // Rows behind the header stay out of the section before it.
        copy += bare(line) == markHeader() ? "[-]\n" : isMark(line) ? "\n" : line;
    }
    return copy + format("\n{}\n{}={}\n", markHeader(), kMarkKey, number);
}

void replaceText(const std::string& path, const std::string& before, const std::string& after) {
    const auto [first, ignored] = std::mismatch(
        before.begin(),
        before.begin() + static_cast<std::ptrdiff_t>(std::min(before.size(), after.size())),
        after.begin());
    const auto from = static_cast<std::size_t>(first - before.begin());
    // To replace a file takes no right to write it; to change its mark does.
    const int descriptor = open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor == -1) {
        failed(path, errno);
    }
    if (replaceFileAlike(path, after)) {
        close(descriptor);
        return;
    }
    if (!writeAll(descriptor, after, from)) {
        const int error = errno;
        writeAll(descriptor, before, from);
        close(descriptor);
        failed(path, error);
    }
    if (close(descriptor) != 0) {
        failed(path, errno);
    }
}

std::string backUp(const std::string& path, const std::string& text) {
    std::string backup = path + ".bak";
    struct stat status = {};
    const mode_t mode = stat(path.c_str(), &status) == 0 ? status.st_mode & 0777U : 0600;
    try {
        replaceFile(backup, text, mode);
    } catch (const ProblemError& error) {
        throw ProblemError(
            {ProblemKind::MarkNotStored, format("{} was not changed, as it cannot be backed up: {}",
                                                path, error.problem().message)});
    }
    return backup;
}

}  // namespace veskctl
