// The trace log: its file, its lines, its lock, its rotation.
#include "failing_calls.h"
#include "memory_faults.h"
#include "traced_host.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <future>
#include <initializer_list>
#include <map>
#include <mutex>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using stg::lout;
using vesktest::FailingCalls;
using vesktest::kLogLinkPath;
using vesktest::kLogPath;
using vesktest::LogEntry;
using vesktest::LogFile;
using vesktest::LogLines;
using vesktest::PrivateHost;

std::string idText(std::thread::id id) {
    std::ostringstream text;
    text << id;
    return text.str();
}

// The clock's time as a text, as a line written now would carry it.
std::string timeText(std::time_t now) {
    char text[32] = "";
    std::tm parts{};
    localtime_r(&now, &parts);
    std::strftime(text, sizeof text, "%a %b %e %H:%M:%S %Y", &parts);
    return text;
}

vesksim::FailureHandler failAll(const std::string& function, int error) {
    return [function, error](const char* called, const std::string&) {
        return called == function ? error : 0;
    };
}

class Logger : public ::testing::Test {
protected:
    Logger() : m_log(m_host) {}
    ~Logger() override { lout.stopDebug(); }

    // The file with "|" in the place of each prefix.
    std::string text() const {
        static const std::regex s_prefix(R"(\(T: [^)]*\) \[[^\]]*\] )");
        return std::regex_replace(m_log.raw(), s_prefix, "|");
    }

    PrivateHost m_host;
    LogFile m_log;
};

// The same with the log switched on.
class RunningLogger : public Logger {
protected:
    RunningLogger() { lout.startDebug(); }
};

using LoggerThreads = RunningLogger;
using LogBuffer = RunningLogger;

}  // namespace

// ---- The file ----

TEST_F(Logger, NothingIsBufferedAndNoFileIsMadeBeforeTheStart) {
    EXPECT_FALSE(lout.isActive());
    lout << "before the start";
    lout << '\n';
    lout << "half a line before the start";
    lout.stopDebug();
    EXPECT_FALSE(lout.isActive());
    EXPECT_FALSE(m_host.exists(kLogPath));
    EXPECT_FALSE(m_host.exists(kLogLinkPath));
    lout.startDebug();
    lout << "after it" << '\n';
    EXPECT_EQ(m_log.lines(), LogLines{"after it"});
}

TEST_F(Logger, StartMakesTheFileAndALinkToIt) {
    lout.startDebug();
    EXPECT_TRUE(lout.isActive());
    EXPECT_EQ(m_host.read(kLogPath), "");
    EXPECT_EQ(std::filesystem::read_symlink(m_host.path(kLogLinkPath)).string(),
              m_host.path("/scratch/log/libVeskNVMe.log"));
}

TEST_F(Logger, StartAppendsToAnExistingFile) {
    m_host.write(kLogPath, "older text\n");
    lout.startDebug();
    lout << "newer" << '\n';
    EXPECT_EQ(text(), "older text\n|newer\n");
}

TEST_F(Logger, LinkThatExistsStaysAsItIs) {
    std::filesystem::create_symlink("elsewhere", m_host.path(kLogLinkPath));
    lout.startDebug();
    EXPECT_EQ(std::filesystem::read_symlink(m_host.path(kLogLinkPath)).string(), "elsewhere");
    lout << "a line" << '\n';
    EXPECT_EQ(m_log.lines(), LogLines{"a line"});
}

TEST_F(Logger, LinkThatCannotBeMadeIsIgnored) {
    const FailingCalls failing(failAll("symlink", EACCES));
    lout.startDebug();
    lout << "a line" << '\n';
    EXPECT_FALSE(m_host.exists(kLogLinkPath));
    EXPECT_EQ(m_log.lines(), LogLines{"a line"});
}

TEST_F(Logger, PathIsFixedAndAskingForItMakesTheLink) {
    EXPECT_EQ(lout.getLogFilePath(), "/scratch/log/libVeskNVMe.log");
    EXPECT_TRUE(m_host.exists(kLogLinkPath));
    EXPECT_FALSE(m_host.exists(kLogPath));
    EXPECT_FALSE(lout.isActive());
}

TEST_F(Logger, FileThatCannotBeOpenedDropsTheLines) {
    std::filesystem::remove(m_host.path("/scratch/log"));
    lout.startDebug();
    EXPECT_TRUE(lout.isActive());
    lout << "dropped" << '\n';
    std::filesystem::create_directory(m_host.path("/scratch/log"));
    lout << "dropped too" << '\n';
    EXPECT_FALSE(m_host.exists(kLogPath));
    lout.startDebug();
    lout << "kept" << '\n';
    EXPECT_EQ(m_log.lines(), LogLines{"kept"});
}

TEST_F(RunningLogger, StartOnAnOpenFileRotatesItAtTheNextLine) {
    lout << "one" << '\n';
    lout.startDebug();
    EXPECT_FALSE(m_host.exists("/scratch/log/libVeskNVMe.log.1"));
    lout << "two" << '\n';
    lout << "three" << '\n';
    EXPECT_EQ(vesktest::LogFile(m_host).lines(), (LogLines{"two", "three"}));
    const std::vector<LogEntry> before =
        vesktest::parseLog(m_host.read("/scratch/log/libVeskNVMe.log.1"));
    ASSERT_EQ(before.size(), 1U);
    EXPECT_EQ(before[0].text, "one");
    EXPECT_FALSE(m_host.exists("/scratch/log/libVeskNVMe.log.2"));
}

// ---- Start and stop ----

TEST_F(Logger, StopKeepsTheFlag) {
    lout.startDebug();
    lout << "before" << '\n';
    lout.stopDebug();
    EXPECT_TRUE(lout.isActive());
    lout << "while stopped" << '\n';
    lout.startDebug();
    lout << "after" << '\n';
    EXPECT_EQ(m_log.lines(), (LogLines{"before", "after"}));
}

TEST_F(RunningLogger, LineBegunWhileStoppedIsFinishedAfterTheNextStart) {
    lout << "begun";
    lout.stopDebug();
    lout << ", continued";
    lout.startDebug();
    lout << ", finished" << '\n';
    EXPECT_EQ(m_log.lines(), LogLines{"begun, continued, finished"});
}

// Full disk: the stream is in failed state, its position reads as -1. Compared
// as unsigned that is above the limit, so the next line rotates and opens a fresh file.
TEST_F(Logger, FailedStreamIsReopened) {
    lout.startDebug();
    lout << "first" << '\n';
    {
        const FailingCalls failing([](const char* function, const std::string& path) {
            return vesktest::isWriting(function) && path == kLogPath ? ENOSPC : 0;
        });
        lout << "refused" << '\n';
    }
    lout << "after" << '\n';
    EXPECT_EQ(m_log.lines(), LogLines{"after"});
    const std::vector<LogEntry> older =
        vesktest::parseLog(m_host.read("/scratch/log/libVeskNVMe.log.1"));
    // What the disk refused may still get there when the stream is closed.
    ASSERT_FALSE(older.empty());
    EXPECT_EQ(older[0].text, "first");
}

// ---- Lines ----

TEST_F(RunningLogger, LineCarriesThreadAndTime) {
    const std::time_t before = std::time(nullptr);
    lout << "text" << '\n';
    const std::time_t after = std::time(nullptr);
    std::set<std::string> possible;
    for (std::time_t now = before; now <= after; ++now) {
        possible.insert("(T: " + idText(std::this_thread::get_id()) + ") [" + timeText(now) +
                        "] text\n");
    }
    EXPECT_EQ(possible.count(m_log.raw()), 1U) << m_log.raw();
}

TEST_F(RunningLogger, PiecesOfEveryTypeMakeOneLine) {
    const std::string text = "text";
    const char* const literal = "literal";
    lout << text << ' ' << literal << ' ' << -7 << ' ' << static_cast<unsigned short>(65535) << ' '
         << static_cast<std::uint64_t>(18446744073709551615ULL) << ' ' << 'c' << ' ' << 2.5 << '\n';
    EXPECT_EQ(m_log.lines(), LogLines{"text literal -7 65535 18446744073709551615 c 2.5"});
}

TEST_F(RunningLogger, LineFeedCharacterPutsTheLineInTheFileAtOnce) {
    lout << "half";
    lout << " a line feed\ninside a text";
    EXPECT_EQ(text(), "");
    lout << '\n';
    EXPECT_EQ(text(), "|half a line feed\ninside a text\n");
    lout << '\n';
    EXPECT_EQ(text(), "|half a line feed\ninside a text\n|\n");
}

TEST_F(RunningLogger, LineIsCutAtANulByteWithItsLineFeed) {
    lout << "kept" << '\0' << "lost" << '\n';
    lout << "next" << '\n';
    EXPECT_EQ(text(), "|kept|next\n");
}

// A value that the stream refuses spoils the rest of its line and nothing behind it.
TEST_F(RunningLogger, RefusedValueSpoilsItsOwnLineOnly) {
    const char* const noText = nullptr;
    lout << "before" << noText << "dropped" << '\n';
    lout << "next" << '\n';
    EXPECT_EQ(m_log.lines(), (LogLines{"before", "next"}));
}

TEST_F(RunningLogger, PieceThatFindsNoMemoryIsDroppedAndNothingIsThrown) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    const std::string piece(1000, 'x');
    lout << "kept ";
    {
        const vesktest::FailNew fail(vesktest::AllocationSize::any(), 1,
                                     vesktest::Repeat::kEachLater);
        EXPECT_NO_THROW(lout << piece);
        EXPECT_TRUE(fail.triggered());
    }
    lout << "too" << '\n';
    lout << "next" << '\n';
    const LogLines lines = m_log.lines();
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0].substr(0, 5), "kept ");
    EXPECT_EQ(lines[1], "next");
}

TEST_F(RunningLogger, StepsOfAnInsertionCanBeTakenByThemselves) {
    char given[] = "given\n";
    lout << "unfinished";
    {
        const std::lock_guard<std::mutex> lock(stg::CLogger::logMutex);
        lout.writeToLog(std::this_thread::get_id());
        lout.writeToLogFile(given);
    }
    lout << '\n';
    EXPECT_EQ(text(), "|unfinished|given\n|\n") << "a buffer that is written out is empty";
    EXPECT_STREQ(given, "given\n");
}

// ---- The limit of one unfinished line: 1,048,575 bytes ----

TEST_F(LogBuffer, TextOfTheLimitWaitsForItsLineFeed) {
    lout << std::string(1048574, 'a');
    lout << 'b';
    EXPECT_EQ(m_log.raw(), "");
    lout << '\n';
    EXPECT_TRUE(text() == "|" + std::string(1048574, 'a') + "b\n");
}

TEST_F(LogBuffer, TextAboveTheLimitIsWrittenAndTheRestGetsItsOwnPrefix) {
    for (int i = 0; i < 1024; ++i) {
        lout << std::string(1024, 'a');
    }
    lout << std::string(2097152, 'x') << "rest" << '\n';
    EXPECT_TRUE(text() ==
                "|" + std::string(1048576, 'a') + "|" + std::string(2097152, 'x') + "|rest\n");
}

TEST_F(LogBuffer, CharacterAboveTheLimitIsWrittenToo) {
    lout << std::string(1048575, 'a');
    EXPECT_EQ(m_log.raw(), "");
    lout << 'b';
    EXPECT_TRUE(text() == "|" + std::string(1048575, 'a') + "b");
}

// ---- Threads ----

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

namespace {

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

// ---- Rotation ----

namespace {

std::string numbered(int number) {
    return "/scratch/log/libVeskNVMe.log." + std::to_string(number);
}

// A log that is given a size, and older files beside it.
class LogRotation : public Logger {
protected:
    void startWithSize(std::uintmax_t size) {
        m_host.write(kLogPath, "");
        std::filesystem::resize_file(m_host.path(kLogPath), size);
        lout.startDebug();
    }
    // 100 MiB and one byte: the next line rotates.
    void startFull() { startWithSize(104857601); }

    // Each holds "file " and its number.
    void writeNumbered(std::initializer_list<int> numbers) {
        for (const int number : numbers) {
            m_host.write(numbered(number), "file " + std::to_string(number));
        }
    }
    // What stands in the files by name, with the size of those that are too long to read.
    std::map<std::string, std::string> files() const {
        std::map<std::string, std::string> result;
        for (const auto& file : std::filesystem::directory_iterator(m_host.path("/scratch/log"))) {
            const std::string name = file.path().filename().string();
            result[name] = file.file_size() > 1000 ? std::to_string(file.file_size())
                                                   : m_host.read("/scratch/log/" + name);
        }
        return result;
    }
    // The text of the last line of a file of any size.
    std::string lastLine(const std::string& path) const {
        std::ifstream file(m_host.path(path), std::ios::binary);
        file.seekg(-200, std::ios::end);
        std::stringstream text;
        text << file.rdbuf();
        return vesktest::parseLog(text.str()).back().text;
    }
    static INTEGER rotate() {
        const std::lock_guard<std::mutex> lock(stg::CLogger::logMutex);
        return lout.rotateLog();
    }
};

using Files = std::map<std::string, std::string>;

}  // namespace

TEST_F(LogRotation, FileOfTheLimitIsStillAppendedToAndTheNextLineRotates) {
    startWithSize(104857600);
    lout << "crosses" << '\n';
    EXPECT_FALSE(m_host.exists(numbered(1)));
    EXPECT_EQ(lastLine(kLogPath), "crosses");
    lout << "next" << '\n';
    EXPECT_EQ(m_log.lines(), LogLines{"next"});
    EXPECT_EQ(lastLine(numbered(1)), "crosses");
    lout << "after" << '\n';
    EXPECT_EQ(m_log.lines(), (LogLines{"next", "after"})) << "one rotation only";
    EXPECT_FALSE(m_host.exists(numbered(2)));
}

TEST_F(LogRotation, OldestOfNineFilesIsDropped) {
    writeNumbered({1, 2, 3, 4, 5, 6, 7, 8});
    startFull();
    lout << "a line" << '\n';
    EXPECT_EQ(m_log.lines(), LogLines{"a line"});
    std::filesystem::remove(m_host.path(kLogPath));
    EXPECT_EQ(files(), (Files{{"libVeskNVMe.log.1", "104857601"},
                              {"libVeskNVMe.log.2", "file 1"},
                              {"libVeskNVMe.log.3", "file 2"},
                              {"libVeskNVMe.log.4", "file 3"},
                              {"libVeskNVMe.log.5", "file 4"},
                              {"libVeskNVMe.log.6", "file 5"},
                              {"libVeskNVMe.log.7", "file 6"},
                              {"libVeskNVMe.log.8", "file 7"}}));
}

TEST_F(LogRotation, OnlyThePresentFilesMoveAndNumberEightStays) {
    lout.startDebug();
    std::filesystem::remove(m_host.path(kLogPath));
    writeNumbered({3, 8});
    EXPECT_EQ(rotate(), 0);
    EXPECT_EQ(files(), (Files{{"libVeskNVMe.log.4", "file 3"}, {"libVeskNVMe.log.8", "file 8"}}));
}

TEST_F(LogRotation, FailsWithoutAPath) {
    EXPECT_EQ(rotate(), 1);
}

TEST_F(LogRotation, FailedRenameGivesOneAndTheOthersGoOn) {
    lout.startDebug();
    writeNumbered({1, 2, 3});
    const FailingCalls failing([](const char* function, const std::string& path) {
        return std::string(function) == "rename" && path == numbered(2) ? EIO : 0;
    });
    EXPECT_EQ(rotate(), 1);
    // Number 2 stayed, and gave way when number 1 moved onto it.
    EXPECT_EQ(files(), (Files{{"libVeskNVMe.log.1", ""},
                              {"libVeskNVMe.log.2", "file 1"},
                              {"libVeskNVMe.log.4", "file 3"}}));
}

TEST_F(LogRotation, FileThatCannotBeReadIsPassedOver) {
    lout.startDebug();
    writeNumbered({1, 4});
    const FailingCalls failing([](const char* function, const std::string& path) {
        return vesktest::isOpening(function) && path == numbered(4) ? EACCES : 0;
    });
    EXPECT_EQ(rotate(), 0);
    EXPECT_EQ(files(), (Files{{"libVeskNVMe.log.1", ""},
                              {"libVeskNVMe.log.2", "file 1"},
                              {"libVeskNVMe.log.4", "file 4"}}));
}

TEST_F(LogRotation, FailedRemoveIsIgnored) {
    lout.startDebug();
    writeNumbered({1, 2});
    std::vector<std::string> asked;
    const FailingCalls failing([&asked](const char* function, const std::string& path) {
        if (std::string(function) != "remove") {
            return 0;
        }
        asked.push_back(path);
        return EBUSY;
    });
    EXPECT_EQ(rotate(), 0);
    EXPECT_EQ(asked, (std::vector<std::string>{numbered(3), numbered(2), numbered(1)}));
    EXPECT_EQ(files(), (Files{{"libVeskNVMe.log.1", ""},
                              {"libVeskNVMe.log.2", "file 1"},
                              {"libVeskNVMe.log.3", "file 2"}}));
}

TEST_F(LogRotation, LineIsWrittenEvenIfTheRotationFails) {
    startFull();
    const FailingCalls failing(failAll("rename", EROFS));
    lout << "a line" << '\n';
    EXPECT_FALSE(m_host.exists(numbered(1)));
    EXPECT_EQ(lastLine(kLogPath), "a line");
}

TEST_F(LogRotation, FileThatCannotBeReopenedIsTriedAgainByEachLine) {
    startFull();
    {
        // Reading it for the rotation still works, opening it anew does not.
        const FailingCalls failing([this](const char* function, const std::string& path) {
            return vesktest::isOpening(function) && path == kLogPath && m_host.exists(numbered(1))
                       ? EMFILE
                       : 0;
        });
        lout << "dropped" << '\n';
        lout << "dropped too" << '\n';
    }
    EXPECT_EQ(files(), (Files{{"libVeskNVMe.log.1", "104857601"}}));
    EXPECT_TRUE(lout.isActive());
    lout << "kept" << '\n';
    lout << "kept too" << '\n';
    EXPECT_EQ(m_log.lines(), (LogLines{"kept", "kept too"}));
    EXPECT_FALSE(m_host.exists(numbered(2))) << "one rotation only";
}

TEST_F(LogRotation, StopEndsTheTryingAgain) {
    startFull();
    {
        const FailingCalls failing([](const char* function, const std::string& path) {
            return vesktest::isOpening(function) && path == kLogPath ? EMFILE : 0;
        });
        lout << "dropped" << '\n';
    }
    lout.stopDebug();
    lout << "dropped too" << '\n';
    EXPECT_EQ(files(), (Files{{"libVeskNVMe.log", "104857601"}}));
}

// Each allocation of a line that rotates in turn: the line may be lost, the log goes on.
TEST_F(LogRotation, LackOfMemoryAnywhereInItLeavesTheLogRunning) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    for (const vesktest::Repeat repeat : {vesktest::Repeat::kOnce, vesktest::Repeat::kEachLater}) {
        bool triggered = true;
        unsigned nth = 1;
        for (; triggered; ++nth) {
            ASSERT_LT(nth, 1000U);
            SCOPED_TRACE(nth);
            for (const auto& [name, text] : files()) {
                std::filesystem::remove(m_host.path("/scratch/log/" + name));
            }
            writeNumbered({1, 2, 3, 4, 5, 6, 7});
            startFull();
            {
                const vesktest::FailNew fault(vesktest::AllocationSize::any(), nth, repeat);
                EXPECT_NO_THROW(lout << '\n');
                triggered = fault.triggered();
            }
            lout << "after" << '\n';
            EXPECT_EQ(lastLine(kLogPath), "after");
            lout << "later" << '\n';
            EXPECT_EQ(lastLine(kLogPath), "later");
            EXPECT_LT(std::filesystem::file_size(m_host.path(kLogPath)), 1000U) << "it is rotated";
            lout.stopDebug();
        }
        EXPECT_GT(nth, 10U);
    }
}

// A full disk: each line that cannot be written rotates at the next one.
TEST_F(LogRotation, FullDiskCostsTheHistory) {
    writeNumbered({1, 2, 3, 4, 5, 6, 7, 8});
    lout.startDebug();
    {
        const FailingCalls failing([](const char* function, const std::string&) {
            return vesktest::isWriting(function) ? ENOSPC : 0;
        });
        for (int line = 0; line < 9; ++line) {
            lout << "refused" << '\n';
        }
    }
    for (const auto& [name, text] : files()) {
        EXPECT_EQ(text.find("file "), std::string::npos) << name;
    }
    EXPECT_EQ(files().size(), 9U);
}
