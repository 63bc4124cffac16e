// The trace log: one global logger, one buffer per thread, one file that is rotated by size.
//
// Any thread may log. A line is put together in the buffer of its thread, piece by piece, and goes
// to the file when its line feed is inserted. The logger takes no other lock under its own, so it
// may be used with any lock held.
#pragma once

#include "VeskNvme.h"

#include <atomic>
#include <fstream>
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

    // The flag alone, so that a caller can leave a statement out before it builds any text.
    // Read without the lock.
    bool isActive() const { return m_active.load(std::memory_order_relaxed); }

    // The operations below are steps of an insertion: logMutex must be held.

    VOID_ writeToLog(std::thread::id thread);
    // The text ends at its first NUL byte.
    VOID_ writeToLogFile(char* text);
    VOID_ writeThreadIdAndTime();
    // Moves the numbered files up by one and the log itself to number 1. 0 done, 1 failed.
    INTEGER rotateLog();

    static std::mutex logMutex;  // guards the buffers and the stream

private:
    void flushLongBuffer(std::thread::id thread, std::ostringstream& buffer);
    void closeAndRotate();
    void reopen();

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
