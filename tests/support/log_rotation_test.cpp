// What becomes of a trace log that is full, and of the older ones.
#include "failing_calls.h"
#include "logger_host.h"
#include "memory_faults.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <map>
#include <mutex>
#include <sstream>
#include <string>

namespace {

using stg::lout;
using vesktest::failAll;
using vesktest::FailingCalls;
using vesktest::kLogPath;
using vesktest::Logger;
using vesktest::LogLines;

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
    writeNumbered({1, 3, 4, 6});
    const FailingCalls failing([](const char* function, const std::string& path) {
        return vesktest::isOpening(function) && (path == numbered(4) || path == numbered(6))
                   ? EACCES
                   : 0;
    });
    EXPECT_EQ(rotate(), 0);
    // Number 4 stayed, and gave way when number 3 moved onto it.
    EXPECT_EQ(files(), (Files{{"libVeskNVMe.log.1", ""},
                              {"libVeskNVMe.log.2", "file 1"},
                              {"libVeskNVMe.log.4", "file 3"},
                              {"libVeskNVMe.log.6", "file 6"}}));
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
