// The log file and its lines, written by one thread.
#include "failing_calls.h"
#include "traced_host.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <string>
#include <thread>

namespace {

using stg::lout;
using vesktest::FailingCalls;
using vesktest::kLogLinkPath;
using vesktest::kLogPath;
using vesktest::LogEntry;
using vesktest::LogFile;
using vesktest::LogLines;
using vesktest::PrivateHost;
using vesktest::TracedHost;

std::string ownThreadId() {
    std::ostringstream text;
    text << std::this_thread::get_id();
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

// For the tests that take the file away: what is left of the log has to go first.
class StopLogging {
public:
    StopLogging() = default;
    ~StopLogging() { lout.stopDebug(); }
    StopLogging(const StopLogging&) = delete;
    StopLogging& operator=(const StopLogging&) = delete;
};

}  // namespace

TEST(Logger, NothingIsBufferedAndNoFileIsMadeBeforeTheStart) {
    const PrivateHost host;
    const StopLogging stop;
    EXPECT_FALSE(lout.isActive());
    lout << "before the start";
    lout << '\n';
    lout << "half a line before the start";
    EXPECT_FALSE(host.exists(kLogPath));
    EXPECT_FALSE(host.exists(kLogLinkPath));
    lout.startDebug();
    lout << "after it" << '\n';
    EXPECT_EQ(LogFile(host).lines(), LogLines{"after it"});
}

TEST(Logger, StartMakesTheFileAndALinkToIt) {
    const PrivateHost host;
    const StopLogging stop;
    lout.startDebug();
    EXPECT_TRUE(lout.isActive());
    EXPECT_EQ(host.read(kLogPath), "");
    EXPECT_EQ(std::filesystem::read_symlink(host.path(kLogLinkPath)).string(),
              host.path("/scratch/log/libVeskNVMe.log"));
}

TEST(Logger, ExistingLinkStaysAsItIs) {
    const PrivateHost host;
    const StopLogging stop;
    std::filesystem::create_symlink("elsewhere", host.path(kLogLinkPath));
    lout.startDebug();
    EXPECT_EQ(std::filesystem::read_symlink(host.path(kLogLinkPath)).string(), "elsewhere");
    lout << "a line" << '\n';
    EXPECT_EQ(LogFile(host).lines(), LogLines{"a line"});
}

TEST(Logger, FailedLinkIsIgnored) {
    const PrivateHost host;
    const StopLogging stop;
    {
        const FailingCalls failing([](const char* function, const std::string&) {
            return std::string(function) == "symlink" ? EACCES : 0;
        });
        lout.startDebug();
    }
    lout << "a line" << '\n';
    EXPECT_FALSE(host.exists(kLogLinkPath));
    EXPECT_EQ(LogFile(host).lines(), LogLines{"a line"});
}

TEST(Logger, PathIsFixedAndAskingForItMakesTheLink) {
    const PrivateHost host;
    EXPECT_EQ(lout.getLogFilePath(), "/scratch/log/libVeskNVMe.log");
    EXPECT_TRUE(host.exists(kLogLinkPath));
    EXPECT_FALSE(host.exists(kLogPath));
    EXPECT_FALSE(lout.isActive());
}

TEST(Logger, LineCarriesThreadAndTime) {
    TracedHost logging;
    const std::time_t before = std::time(nullptr);
    lout << "text" << '\n';
    const std::time_t after = std::time(nullptr);
    const std::string raw = logging.log().raw();
    bool found = false;
    for (std::time_t now = before; now <= after; ++now) {
        found = found || raw == "(T: " + ownThreadId() + ") [" + timeText(now) + "] text\n";
    }
    EXPECT_TRUE(found) << raw;
}

TEST(Logger, PiecesOfEveryTypeMakeOneLine) {
    TracedHost logging;
    const std::string text = "text";
    const char* const literal = "literal";
    lout << text << ' ' << literal << ' ' << -7 << ' ' << static_cast<unsigned short>(65535) << ' '
         << static_cast<std::uint64_t>(18446744073709551615ULL) << ' ' << 'c' << ' ' << 2.5 << '\n';
    EXPECT_EQ(logging.lines(), LogLines{"text literal -7 65535 18446744073709551615 c 2.5"});
}

TEST(Logger, NothingReachesTheFileBeforeTheLineFeed) {
    TracedHost logging;
    lout << "half";
    EXPECT_EQ(logging.log().raw(), "");
    lout << " and half" << '\n';
    EXPECT_EQ(logging.lines(), LogLines{"half and half"});
}

TEST(Logger, LineFeedAloneMakesALineWithoutText) {
    TracedHost logging;
    lout << '\n';
    const std::vector<LogEntry> entries = logging.log().entries();
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_TRUE(entries[0].hasPrefix);
    EXPECT_EQ(entries[0].thread, ownThreadId());
    EXPECT_EQ(entries[0].text, "");
}

TEST(Logger, InnerLineFeedYieldsOnePrefix) {
    TracedHost logging;
    lout << "first\nsecond";
    EXPECT_EQ(logging.log().raw(), "") << "a line feed inside a text is no line end yet";
    lout << '\n';
    const std::string raw = logging.log().raw();
    EXPECT_EQ(raw.find("(T: "), 0U);
    EXPECT_EQ(raw.find("(T: ", 1), std::string::npos);
    EXPECT_EQ(raw.substr(raw.find("] ") + 2), "first\nsecond\n");
}

TEST(Logger, LineIsCutAtANulByte) {
    TracedHost logging;
    lout << "kept" << '\0' << "lost" << '\n';
    lout << "next" << '\n';
    EXPECT_EQ(logging.lines(), (LogLines{"kept", "next"}));
    const std::string raw = logging.log().raw();
    EXPECT_EQ(raw.find('\0'), std::string::npos);
    EXPECT_NE(raw.find("kept(T: "), std::string::npos) << "the line feed goes too: " << raw;
}

TEST(Logger, EveryLineIsInTheFileAtOnce) {
    TracedHost logging;
    lout << "one" << '\n';
    EXPECT_EQ(logging.lines(), LogLines{"one"});
    lout << "two" << '\n';
    EXPECT_EQ(logging.lines(), (LogLines{"one", "two"}));
}

TEST(Logger, StartAppendsToAnExistingFile) {
    const PrivateHost host;
    const StopLogging stop;
    host.write(kLogPath, "older text\n");
    lout.startDebug();
    lout << "newer" << '\n';
    EXPECT_EQ(host.read(kLogPath).substr(0, 11), "older text\n");
    EXPECT_EQ(LogFile(host).lines().back(), "newer");
}

TEST(Logger, StopKeepsTheFlag) {
    TracedHost logging;
    lout << "before" << '\n';
    lout.stopDebug();
    EXPECT_TRUE(lout.isActive());
    lout << "while stopped" << '\n';
    EXPECT_EQ(logging.lines(), LogLines{"before"});
}

TEST(Logger, LineFinishedWhileStoppedIsDropped) {
    TracedHost logging;
    lout.stopDebug();
    lout << "dropped" << '\n';
    lout.startDebug();
    lout << "kept" << '\n';
    EXPECT_EQ(logging.lines(), LogLines{"kept"});
}

TEST(Logger, LineBegunWhileStoppedIsFinishedAfterTheNextStart) {
    TracedHost logging;
    lout << "begun";
    lout.stopDebug();
    lout << ", continued";
    lout.startDebug();
    lout << ", finished" << '\n';
    EXPECT_EQ(logging.lines(), LogLines{"begun, continued, finished"});
}

TEST(Logger, StopWithoutStartDoesNothing) {
    const PrivateHost host;
    lout.stopDebug();
    lout.stopDebug();
    EXPECT_FALSE(lout.isActive());
    EXPECT_FALSE(host.exists(kLogPath));
}

TEST(Logger, StartOnAnOpenFileRotatesItAtTheNextLine) {
    TracedHost logging;
    lout << "one" << '\n';
    lout.startDebug();
    EXPECT_FALSE(logging.files().exists("/scratch/log/libVeskNVMe.log.1"));
    lout << "two" << '\n';
    lout << "three" << '\n';
    EXPECT_EQ(logging.log().lines(), (LogLines{"two", "three"}));
    const std::vector<LogEntry> before =
        vesktest::parseLog(logging.files().read("/scratch/log/libVeskNVMe.log.1"));
    ASSERT_EQ(before.size(), 1U);
    EXPECT_EQ(before[0].text, "one");
    EXPECT_FALSE(logging.files().exists("/scratch/log/libVeskNVMe.log.2"));
}

TEST(Logger, FileThatCannotBeOpenedDropsTheLines) {
    const PrivateHost host;
    const StopLogging stop;
    std::filesystem::remove(host.path("/scratch/log"));
    lout.startDebug();
    EXPECT_TRUE(lout.isActive());
    lout << "dropped" << '\n';
    std::filesystem::create_directory(host.path("/scratch/log"));
    lout << "dropped too" << '\n';
    EXPECT_FALSE(host.exists(kLogPath));
}

TEST(Logger, StartAfterAFailedStartOpensTheFile) {
    const PrivateHost host;
    const StopLogging stop;
    {
        const FailingCalls failing([](const char* function, const std::string&) {
            return vesktest::isOpening(function) ? EMFILE : 0;
        });
        lout.startDebug();
    }
    lout << "dropped" << '\n';
    lout.startDebug();
    lout << "kept" << '\n';
    EXPECT_EQ(LogFile(host).lines(), LogLines{"kept"});
}

// Full disk: the stream is in failed state, its position reads as -1. Compared
// as unsigned that is above the limit, so the next line rotates and opens a fresh file.
TEST(Logger, FailedStreamIsReopened) {
    TracedHost logging;
    lout << "first" << '\n';
    {
        const FailingCalls failing([](const char* function, const std::string& path) {
            return vesktest::isWriting(function) && path == kLogPath ? ENOSPC : 0;
        });
        lout << "refused" << '\n';
    }
    lout << "after" << '\n';
    EXPECT_EQ(logging.lines(), LogLines{"after"});
    const std::vector<LogEntry> older =
        vesktest::parseLog(logging.files().read("/scratch/log/libVeskNVMe.log.1"));
    // What the disk refused may still get there when the stream is closed.
    ASSERT_FALSE(older.empty());
    EXPECT_EQ(older[0].text, "first");
}

TEST(Logger, WritingOutABufferEmptiesIt) {
    TracedHost logging;
    lout << "unfinished";
    {
        const std::lock_guard<std::mutex> lock(stg::CLogger::logMutex);
        lout.writeToLog(std::this_thread::get_id());
    }
    EXPECT_EQ(logging.lines(), LogLines{"unfinished"});
    lout << '\n';
    EXPECT_EQ(logging.lines(), (LogLines{"unfinished", ""}));
}

TEST(Logger, TextIsWrittenAsItStandsBehindAPrefix) {
    TracedHost logging;
    char text[] = "given\n";
    {
        const std::lock_guard<std::mutex> lock(stg::CLogger::logMutex);
        lout.writeToLogFile(text);
    }
    EXPECT_EQ(logging.lines(), LogLines{"given"});
    EXPECT_STREQ(text, "given\n");
}

// A value that the stream refuses spoils the rest of its line and nothing behind it.
TEST(Logger, RefusedValueSpoilsItsOwnLineOnly) {
    TracedHost logging;
    const char* const noText = nullptr;
    lout << "before" << noText << "dropped" << '\n';
    lout << "next" << '\n';
    EXPECT_EQ(logging.lines(), (LogLines{"before", "next"}));
}
