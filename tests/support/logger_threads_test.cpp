// The trace log used from several threads, and its lock.
#include "failing_calls.h"
#include "logger_host.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <future>
#include <string>
#include <thread>
#include <vector>

namespace {

using stg::lout;
using vesktest::FailingCalls;
using vesktest::idText;
using vesktest::kLogPath;
using vesktest::LogEntry;
using vesktest::Logger;
using vesktest::LogLines;
using vesktest::RunningLogger;

using LoggerThreads = RunningLogger;

bool otherThreadFindsLockTaken() {
    bool taken = true;
    std::thread([&taken] {
        if (stg::CLogger::logMutex.try_lock()) {
            stg::CLogger::logMutex.unlock();
            taken = false;
        }
    }).join();
    return taken;
}

// Looks at the lock at each call on the log file: makes it, opens it, writes to it.
class LockWatch {
public:
    // Whether there were calls, and the lock was held at each and is free again.
    ::testing::AssertionResult held() const {
        if (m_looks == 0 || m_found != m_looks || otherThreadFindsLockTaken()) {
            return ::testing::AssertionFailure()
                   << m_looks << " calls, " << m_found << " of them with the lock held";
        }
        return ::testing::AssertionSuccess();
    }

private:
    unsigned m_looks = 0;
    unsigned m_found = 0;
    FailingCalls m_calls{[this](const char*, const std::string& path) {
        if (path == kLogPath) {
            ++m_looks;
            m_found += otherThreadFindsLockTaken() ? 1 : 0;
        }
        return 0;
    }};
};

// A piece that looks at the lock while it is inserted.
struct LookingPiece {
    bool* taken;
};

std::ostream& operator<<(std::ostream& stream, const LookingPiece& piece) {
    *piece.taken = otherThreadFindsLockTaken();
    return stream;
}

}  // namespace

TEST_F(LoggerThreads, InterleavedStatementsMakeTwoWholeLines) {
    std::promise<void> otherBegan;
    std::promise<void> ownContinued;
    lout << "own begins";
    std::thread other([&otherBegan, &ownContinued] {
        lout << "other begins";
        otherBegan.set_value();
        ownContinued.get_future().wait();
        lout << ", other ends" << '\n';
    });
    const std::string otherId = idText(other.get_id());
    otherBegan.get_future().wait();
    lout << ", own ends" << '\n';
    ownContinued.set_value();
    other.join();

    const std::vector<LogEntry> entries = m_log.entries();
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0].text, "own begins, own ends");
    EXPECT_EQ(entries[0].thread, idText(std::this_thread::get_id()));
    EXPECT_EQ(entries[1].text, "other begins, other ends");
    EXPECT_EQ(entries[1].thread, otherId);
}

TEST_F(LoggerThreads, ManyThreadsWriteWholeLinesInTheirOwnOrder) {
    constexpr int kThreads = 8;
    constexpr int kLines = 200;
    std::promise<void> start;
    const std::shared_future<void> started = start.get_future().share();
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([thread, started] {
            started.wait();
            for (int line = 0; line < kLines; ++line) {
                lout << "thread " << thread << " line " << line << std::string(" end") << '\n';
            }
        });
    }
    start.set_value();
    for (std::thread& thread : threads) {
        thread.join();
    }

    const std::regex whole("thread (\\d) line (\\d+) end");
    std::map<std::string, int> nextLine;
    std::map<std::string, std::set<std::string>> numbersOfThread;
    const std::vector<LogEntry> entries = m_log.entries();
    ASSERT_EQ(entries.size(), 1600U);
    for (const LogEntry& entry : entries) {
        std::smatch match;
        ASSERT_TRUE(entry.hasPrefix && std::regex_match(entry.text, match, whole)) << entry.text;
        EXPECT_EQ(std::stoi(match.str(2)), nextLine[match.str(1)]++) << entry.text;
        numbersOfThread[entry.thread].insert(match.str(1));
    }
    EXPECT_EQ(numbersOfThread.size(), 8U);
    for (const auto& [id, numbers] : numbersOfThread) {
        EXPECT_EQ(numbers.size(), 1U) << "lines of several threads carry the id " << id;
    }
}

TEST_F(Logger, StartMayOverlapWithStatements) {
    std::promise<void> running;
    std::promise<void> started;
    std::thread writer([&running, &started] {
        const std::shared_future<void> start = started.get_future().share();
        running.set_value();
        while (start.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
            lout << "a whole line" << '\n';
        }
        lout << "late" << '\n';
    });
    running.get_future().wait();
    lout.startDebug();
    started.set_value();
    writer.join();
    EXPECT_EQ(m_log.lines().back(), "late");
}

TEST_F(LoggerThreads, StopMayOverlapWithLinesAndDropsTheLaterOnes) {
    std::promise<void> running;
    std::promise<void> stopped;
    std::thread writer([&running, &stopped] {
        for (int line = 0; line < 500; ++line) {
            lout << "a whole line" << '\n';
            if (line == 10) {
                running.set_value();
            }
        }
        stopped.get_future().wait();
        lout << "late" << '\n';
    });
    running.get_future().wait();
    lout.stopDebug();
    stopped.set_value();
    writer.join();
    const LogLines lines = m_log.lines();
    EXPECT_GE(lines.size(), 11U);
    EXPECT_EQ(vesktest::count(lines, "a whole line"), lines.size());
}

// ---- The lock: whoever works on the buffers or the file holds it ----

TEST_F(Logger, StartHoldsTheLock) {
    const LockWatch watch;
    lout.startDebug();
    EXPECT_TRUE(watch.held());
}

TEST_F(RunningLogger, InsertionHoldsTheLock) {
    // Above the limit, so that the insertion itself comes to the file.
    const std::string longText(1048576, 'a');
    {
        const LockWatch watch;
        lout << longText;
        EXPECT_TRUE(watch.held()) << "a text";
    }
    {
        const LockWatch watch;
        lout << '\n';
        EXPECT_TRUE(watch.held()) << "a character";
    }
    bool taken = false;
    lout << LookingPiece{&taken};
    EXPECT_TRUE(taken) << "a piece that only goes to the buffer";
}

TEST_F(RunningLogger, StopHoldsTheLock) {
    {
        const FailingCalls fullDisk([](const char* function, const std::string&) {
            return vesktest::isWriting(function) ? ENOSPC : 0;
        });
        lout << "left for the close to write" << '\n';
    }
    const LockWatch watch;
    lout.stopDebug();
    EXPECT_TRUE(watch.held());
}
