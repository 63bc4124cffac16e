// Lines of several threads do not mix.
#include "traced_host.h"

#include <gtest/gtest.h>

#include <future>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using stg::lout;
using vesktest::LogEntry;
using vesktest::TracedHost;

std::string idText(std::thread::id id) {
    std::ostringstream text;
    text << id;
    return text.str();
}

}  // namespace

TEST(LoggerThreads, InterleavedStatementsMakeTwoWholeLines) {
    TracedHost logging;
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

    const std::vector<LogEntry> entries = logging.log().entries();
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0].text, "own begins, own ends");
    EXPECT_EQ(entries[0].thread, idText(std::this_thread::get_id()));
    EXPECT_EQ(entries[1].text, "other begins, other ends");
    EXPECT_EQ(entries[1].thread, otherId);
}

TEST(LoggerThreads, ManyThreadsWriteWholeLinesInTheirOwnOrder) {
    constexpr int kThreads = 8;
    constexpr int kLines = 200;
    TracedHost logging;
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

    std::map<std::string, int> nextLine;
    std::map<std::string, std::set<std::string>> numbersOfThread;
    const std::vector<LogEntry> entries = logging.log().entries();
    ASSERT_EQ(entries.size(), 1600U);
    for (const LogEntry& entry : entries) {
        ASSERT_TRUE(entry.hasPrefix);
        std::istringstream words(entry.text);
        std::string thread;
        std::string number;
        std::string line;
        int lineNumber = -1;
        std::string end;
        words >> thread >> number >> line >> lineNumber >> end;
        ASSERT_EQ(thread + line + end, "threadlineend") << entry.text;
        EXPECT_EQ(lineNumber, nextLine[number]++) << entry.text;
        numbersOfThread[entry.thread].insert(number);
    }
    EXPECT_EQ(numbersOfThread.size(), 8U);
    for (const auto& [id, numbers] : numbersOfThread) {
        EXPECT_EQ(numbers.size(), 1U) << "lines of several threads carry the id " << id;
    }
}

TEST(LoggerThreads, StopBetweenTheLinesOfAThreadDropsTheLaterOnes) {
    TracedHost logging;
    std::promise<void> running;
    std::promise<void> stopped;
    std::thread writer([&running, &stopped] {
        lout << "early" << '\n';
        running.set_value();
        stopped.get_future().wait();
        lout << "late" << '\n';
    });
    running.get_future().wait();
    lout.stopDebug();
    stopped.set_value();
    writer.join();
    EXPECT_EQ(logging.lines(), vesktest::LogLines{"early"});
}

TEST(LoggerThreads, StopMayOverlapWithLines) {
    TracedHost logging;
    std::promise<void> running;
    std::thread writer([&running] {
        for (int line = 0; line < 500; ++line) {
            lout << "a whole line" << '\n';
            if (line == 10) {
                running.set_value();
            }
        }
    });
    running.get_future().wait();
    lout.stopDebug();
    writer.join();
    const std::vector<LogEntry> entries = logging.log().entries();
    EXPECT_GE(entries.size(), 11U);
    for (const LogEntry& entry : entries) {
        EXPECT_TRUE(entry.hasPrefix);
        EXPECT_EQ(entry.text, "a whole line");
    }
}
