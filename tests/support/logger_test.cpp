// The trace log: its file and its lines.
#include "failing_calls.h"
#include "logger_host.h"
#include "memory_faults.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <ctime>
#include <filesystem>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

using stg::lout;
using vesktest::failAll;
using vesktest::FailingCalls;
using vesktest::idText;
using vesktest::kLogLinkPath;
using vesktest::kLogPath;
using vesktest::LogEntry;
using vesktest::Logger;
using vesktest::LogLines;
using vesktest::RunningLogger;

// The clock's time as a text, as a line written now would carry it.
std::string timeText(std::time_t now) {
    char text[32] = "";
    std::tm parts{};
    localtime_r(&now, &parts);
    std::strftime(text, sizeof text, "%a %b %e %H:%M:%S %Y", &parts);
    return text;
}

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

TEST_F(RunningLogger, FirstPieceOfAThreadThatFindsNoMemoryIsDropped) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    std::thread([] {
        {
            const vesktest::FailNew fail(vesktest::AllocationSize::any(), 1,
                                         vesktest::Repeat::kEachLater);
            EXPECT_NO_THROW(lout << 12);
            EXPECT_TRUE(fail.triggered());
        }
        lout << 34 << '\n';
    }).join();
    const LogLines lines = m_log.lines();
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0], "34");
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
