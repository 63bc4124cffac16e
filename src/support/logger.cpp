#include "support/logger.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <iterator>
#include <new>
#include <pthread.h>
#include <unistd.h>

namespace {

constexpr const char* kLogFile = "/scratch/log/libVeskNVMe.log";
constexpr const char* kLogLink = "/var/log/libVeskNVMe.log";

constexpr std::uint64_t kFileLimit = 0x6400000;  // 100 MiB; rotated above it
constexpr std::size_t kBufferLimit = 0xFFFFF;    // an unfinished line is flushed above it
constexpr int kOldestRotatedFile = 8;

// The time as ctime gives it, without its line end. Looking at the time zone, as ctime does each
// time, costs more than all the rest of a line, so the text is kept for its second. Guarded by
// logMutex.
const char* timeText(std::time_t now) {
    static std::time_t second = -1;
    static char text[64] = "";
    if (now != second) {
        tzset();
        if (ctime_r(&now, text) == nullptr) {
            text[0] = '\0';
        }
        const std::size_t length = std::char_traits<char>::length(text);
        if (length > 0 && (text[length - 1] == '\n' || text[length - 1] == '\r')) {
            text[length - 1] = '\0';
        }
        second = now;
    }
    return text;
}

char* append(char* end, std::string_view text) {
    return std::copy(text.begin(), text.end(), end);
}

constexpr std::size_t kPrefixSize = 128;  // more than any

char* appendThreadIdAndTime(char* end) {
    end = append(end, "(T: ");
    // The number that a std::thread::id shows.
    end = std::to_chars(end, end + 20, pthread_self()).ptr;
    end = append(end, ") [");
    end = append(end, timeText(std::time(nullptr)));
    return append(end, "] ");
}

// As tellp, which costs twice as much.
std::streamoff positionOf(const std::ofstream& stream) {
    return stream.fail() ? std::streamoff(-1)
                         : std::streamoff(stream.rdbuf()->pubseekoff(0, std::ios::cur));
}

}  // namespace

namespace stg {

std::mutex CLogger::logMutex;

CLogger::CLogger() : m_active(false), m_reopening(false) {}

CLogger::~CLogger() = default;

VOID_ CLogger::startDebug() {
    const std::lock_guard<std::mutex> lock(logMutex);
    m_logPath = getLogFilePath();
    m_active.store(true, std::memory_order_relaxed);
    m_reopening = false;
    // ODDITY: a file that cannot be opened here is not tried again by the lines, which are dropped
    // until another start. Pinned by Logger.FileThatCannotBeOpenedDropsTheLines.
    // ODDITY: a start on an open file fails the stream, and a failed stream is rotated and opened
    // anew by the next line: a start that is tried again begins a new file. Pinned by
    // RunningLogger.StartOnAnOpenFileRotatesItAtTheNextLine.
    m_logStream.open(m_logPath, std::ios::app);
}

VOID_ CLogger::stopDebug() {
    const std::lock_guard<std::mutex> lock(logMutex);
    // ODDITY: the flag stays set, so lines go on being built and are dropped at the closed file.
    // Other threads may be in the middle of one. Pinned by Logger.StopKeepsTheFlag.
    if (m_logStream.is_open()) {
        m_logStream.close();
    }
    m_reopening = false;
}

STDSTR CLogger::getLogFilePath() {
    // An existing link, or a folder that is not there, is nobody's concern here.
    const int linked = symlink(kLogFile, kLogLink);
    static_cast<void>(linked);
    return kLogFile;
}

CLogger& CLogger::operator<<(char character) {
    if (!isActive()) {
        return *this;
    }
    const std::thread::id thread = std::this_thread::get_id();
    const std::lock_guard<std::mutex> lock(logMutex);
    try {
        std::ostringstream& buffer = m_threadBuffers[thread];
        buffer << character;
        if (character == '\n') {
            writeToLog(thread);
        }
        flushLongBuffer(thread, buffer);
    } catch (const std::bad_alloc&) {
        // As in the template.
    }
    return *this;
}

void CLogger::flushLongBuffer(std::thread::id thread, std::ostringstream& buffer) {
    if (buffer.tellp() > std::streamoff{kBufferLimit}) {
        writeToLog(thread);
    }
}

VOID_ CLogger::writeToLog(std::thread::id thread) {
    std::ostringstream& buffer = m_threadBuffers[thread];
    std::string text = buffer.str();
    writeToLogFile(text.data());
    buffer.clear();
    buffer.str(std::string());
}

VOID_ CLogger::writeToLogFile(char* text) {
    if (prepareStream()) {
        writeThreadIdAndTime();
        m_logStream << text;
        m_logStream.flush();
    }
}

VOID_ CLogger::writeLine(std::initializer_list<LogPiece> pieces) {
    std::size_t size = 0;
    for (const LogPiece& piece : pieces) {
        size += piece.text().size();
    }
    const std::thread::id thread = std::this_thread::get_id();
    std::unique_lock<std::mutex> lock(logMutex);
    if (size > kBufferLimit || hasBegunLine(thread)) {
        lock.unlock();
        for (const LogPiece& piece : pieces) {
            *this << piece.text();
        }
        *this << '\n';
        return;
    }
    if (!prepareStream()) {
        return;
    }
    // Each insertion into the stream costs as much as putting together all of a line.
    char line[1024];
    static_assert(sizeof(line) > kPrefixSize);
    char* end = appendThreadIdAndTime(line);
    bool cut = false;  // at a NUL byte, with the line feed, as a line in a buffer is
    for (const LogPiece& piece : pieces) {
        const std::string_view text = piece.text().substr(0, piece.text().find('\0'));
        if (text.size() < static_cast<std::size_t>(std::end(line) - end)) {
            end = append(end, text);
        } else {
            m_logStream.write(line, end - line);
            m_logStream.write(text.data(), static_cast<std::streamsize>(text.size()));
            end = line;
        }
        cut = text.size() < piece.text().size();
        if (cut) {
            break;
        }
    }
    if (!cut) {
        *end++ = '\n';
    }
    m_logStream.write(line, end - line);
    m_logStream.flush();
}

bool CLogger::hasBegunLine(std::thread::id thread) {
    const auto buffer = m_threadBuffers.find(thread);
    return buffer != m_threadBuffers.end() && buffer->second.tellp() != std::streamoff(0);
}

// Rotates and reopens the file if that is due. Whether it is open then.
bool CLogger::prepareStream() {
    // ODDITY: compared as unsigned, so the -1 of a failed stream is above the limit too. The
    // rotation and reopening that follow are what heals the stream. Pinned by
    // Logger.FailedStreamIsReopened.
    if (m_logStream.is_open() && static_cast<std::uint64_t>(positionOf(m_logStream)) > kFileLimit) {
        closeAndRotate();
    }
    if (m_reopening) {
        reopen();
    }
    return m_logStream.is_open();
}

void CLogger::closeAndRotate() {
    m_logStream.close();
    m_reopening = true;
    try {
        rotateLog();
    } catch (const std::bad_alloc&) {
        // The file is opened again all the same, and the next line rotates it.
    }
}

// Where this fails, the text at hand is dropped, and the next line tries again.
void CLogger::reopen() {
    try {
        m_logStream.open(m_logPath, std::ios::app);
    } catch (const std::bad_alloc&) {
        // For its buffer, when the file is open already.
        m_logStream.close();
    }
    m_reopening = !m_logStream.is_open();
}

VOID_ CLogger::writeThreadIdAndTime() {
    char prefix[kPrefixSize];
    const char* const end = appendThreadIdAndTime(prefix);
    m_logStream.write(prefix, end - prefix);
}

INTEGER CLogger::rotateLog() {
    if (m_logPath.empty()) {
        return 1;
    }
    INTEGER result = 0;
    for (int number = kOldestRotatedFile - 1; number >= 0; --number) {
        const std::string source =
            number == 0 ? m_logPath : m_logPath + "." + std::to_string(number);
        if (!std::ifstream(source).is_open()) {
            continue;
        }
        const std::string target = m_logPath + "." + std::to_string(number + 1);
        std::remove(target.c_str());
        if (std::rename(source.c_str(), target.c_str()) != 0) {
            result = 1;
        }
    }
    return result;
}

template CLogger& CLogger::operator<<(const int& value);
template CLogger& CLogger::operator<<(const unsigned short& value);
template CLogger& CLogger::operator<<(const std::string& value);
template CLogger& CLogger::operator<<(const char* const& value);

}  // namespace stg
