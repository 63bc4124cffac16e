// The trace log: one global logger, one buffer per thread, one file that is rotated by size.
//
// Any thread may log. A line comes whole, or it is put together in the buffer of its thread, piece
// by piece, and goes to the file when its line feed is inserted. The logger takes no other lock
// under its own, so it may be used with any lock held.
#pragma once

#include "VeskNvme.h"
#include "support/log_piece.h"

#include <atomic>
#include <fstream>
#include <initializer_list>
#include <map>
#include <mutex>
#include <new>
#include <sstream>
#include <string>
#include <thread>

namespace stg {

class CLogger {
public:
    CLogger();
    ~CLogger();

    VOID_ startDebug();
    // Closes the file. Statements go on filling their buffers, and each finished line is dropped.
    VOID_ stopDebug();

    // The path of the log file. Also makes the link under /var/log that points at it.
    STDSTR getLogFilePath();

    CLogger& operator<<(char character);
    template <typename T>
    CLogger& operator<<(const T& value);

    // A whole line, at once: much faster than to insert its pieces and a line feed one by one, and
    // the same in the file. Seldom called, as logging is off mostly.
    [[gnu::cold]] VOID_ writeLine(std::initializer_list<LogPiece> pieces);

    // The flag alone, so that a caller can leave a statement out before it builds any text.
    // Read without the lock.
    bool isActive() const { return m_active.load(std::memory_order_relaxed); }

    // The operations below are steps of an insertion: logMutex must be held.

    VOID_ writeToLog(std::thread::id thread);
    // The text ends at its first NUL byte.
    VOID_ writeToLogFile(char* text);
    VOID_ writeThreadIdAndTime();
    // Moves the numbered files up by one and the log itself to number 1. 0 done, 1 failed.
    [[gnu::cold]] INTEGER rotateLog();

    static std::mutex logMutex;  // guards the buffers and the stream

private:
    void flushLongBuffer(std::thread::id thread, std::ostringstream& buffer);
    bool hasBegunLine(std::thread::id thread);
    bool prepareStream();
    [[gnu::cold]] void closeAndRotate();
    [[gnu::cold]] void reopen();

    std::atomic<bool> m_active;
    std::map<std::thread::id, std::ostringstream> m_threadBuffers;
    std::string m_logPath;
    std::ofstream m_logStream;
    bool m_reopening;  // closed by a rotation, and not yet open again
};

extern CLogger lout;

template <typename T>
CLogger& CLogger::operator<<(const T& value) {
    if (!isActive()) {
        return *this;
    }
    const std::thread::id thread = std::this_thread::get_id();
    const std::lock_guard<std::mutex> lock(logMutex);
    try {
        std::ostringstream& buffer = m_threadBuffers[thread];
        buffer << value;
        flushLongBuffer(thread, buffer);
    } catch (const std::bad_alloc&) {
        // The text is dropped, as for a file that cannot be written: the log reports nothing.
    }
    return *this;
}

// In the library once, for all who insert these.
extern template CLogger& CLogger::operator<<(const int& value);
extern template CLogger& CLogger::operator<<(const unsigned short& value);
extern template CLogger& CLogger::operator<<(const std::string& value);
extern template CLogger& CLogger::operator<<(const char* const& value);

}  // namespace stg
