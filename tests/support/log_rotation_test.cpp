// Rotation of the log file by its size, and what happens when a step of it fails.
#include "failing_calls.h"
#include "traced_host.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace {

using stg::lout;
using vesktest::FailingCalls;
using vesktest::kLogPath;
using vesktest::LogFile;
using vesktest::LogLines;
using vesktest::PrivateHost;

std::string numbered(int number) {
    return "/scratch/log/libVeskNVMe.log." + std::to_string(number);
}

// A host whose log can be given a size and older files before logging starts.
class LogRotation : public ::testing::Test {
protected:
    LogRotation() : m_log(m_host) {}
    ~LogRotation() override { lout.stopDebug(); }

    void startWithSize(std::uintmax_t size) {
        m_host.write(kLogPath, "");
        std::filesystem::resize_file(m_host.path(kLogPath), size);
        lout.startDebug();
    }
    // 100 MiB and one byte: the next line rotates.
    void startFull() { startWithSize(104857601); }

    void writeNumbered(std::initializer_list<int> numbers) {
        for (const int number : numbers) {
            m_host.write(numbered(number), "file " + std::to_string(number));
        }
    }
    std::uintmax_t size(const std::string& path) const {
        return std::filesystem::file_size(m_host.path(path));
    }
    std::set<std::string> names() const {
        std::set<std::string> result;
        for (const auto& file : std::filesystem::directory_iterator(m_host.path("/scratch/log"))) {
            result.insert(file.path().filename().string());
        }
        return result;
    }
    static INTEGER rotate() {
        const std::lock_guard<std::mutex> lock(stg::CLogger::logMutex);
        return lout.rotateLog();
    }

    PrivateHost m_host;
    LogFile m_log;
};

}  // namespace

TEST_F(LogRotation, FileOfTheLimitIsStillAppendedTo) {
    startWithSize(104857600);
    lout << "a line" << '\n';
    EXPECT_FALSE(m_host.exists(numbered(1)));
    EXPECT_GT(size(kLogPath), 104857600U);
}

TEST_F(LogRotation, FileAboveTheLimitIsRotated) {
    startWithSize(104857601);
    lout << "a line" << '\n';
    EXPECT_EQ(m_log.lines(), LogLines{"a line"});
    EXPECT_EQ(size(numbered(1)), 104857601U) << "no part of the line is in the old file";
    EXPECT_EQ(names(), (std::set<std::string>{"libVeskNVMe.log", "libVeskNVMe.log.1"}));
}

TEST_F(LogRotation, LineThatCrossesTheLimitStaysWhole) {
    startWithSize(104857600);
    lout << "crosses" << '\n';
    const std::uintmax_t grown = size(kLogPath);
    lout << "next" << '\n';
    EXPECT_EQ(m_log.lines(), LogLines{"next"});
    EXPECT_EQ(size(numbered(1)), grown);
    lout << "after" << '\n';
    EXPECT_EQ(m_log.lines(), (LogLines{"next", "after"})) << "one rotation only";
}

TEST_F(LogRotation, OldestOfNineFilesIsDropped) {
    writeNumbered({1, 2, 3, 4, 5, 6, 7, 8});
    startFull();
    lout << "a line" << '\n';
    EXPECT_EQ(m_log.lines(), LogLines{"a line"});
    EXPECT_EQ(size(numbered(1)), 104857601U);
    EXPECT_EQ(m_host.read(numbered(2)), "file 1");
    EXPECT_EQ(m_host.read(numbered(3)), "file 2");
    EXPECT_EQ(m_host.read(numbered(4)), "file 3");
    EXPECT_EQ(m_host.read(numbered(5)), "file 4");
    EXPECT_EQ(m_host.read(numbered(6)), "file 5");
    EXPECT_EQ(m_host.read(numbered(7)), "file 6");
    EXPECT_EQ(m_host.read(numbered(8)), "file 7");
    EXPECT_EQ(names().size(), 9U);
}

TEST_F(LogRotation, OnlyThePresentFilesMove) {
    lout.startDebug();
    std::filesystem::remove(m_host.path(kLogPath));
    writeNumbered({3});
    EXPECT_EQ(rotate(), 0);
    EXPECT_EQ(names(), std::set<std::string>{"libVeskNVMe.log.4"});
    EXPECT_EQ(m_host.read(numbered(4)), "file 3");
}

TEST_F(LogRotation, NumberNineIsNeverMade) {
    lout.startDebug();
    writeNumbered({8});
    EXPECT_EQ(rotate(), 0);
    EXPECT_EQ(m_host.read(numbered(8)), "file 8") << "nothing moved up onto it";
    EXPECT_FALSE(m_host.exists(numbered(9)));
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
    EXPECT_EQ(m_host.read(numbered(4)), "file 3");
    // Number 2 stayed, and gave way when number 1 moved onto it.
    EXPECT_EQ(m_host.read(numbered(2)), "file 1");
    EXPECT_EQ(m_host.read(numbered(1)), "");
    EXPECT_FALSE(m_host.exists(numbered(3)));
    EXPECT_FALSE(m_host.exists(kLogPath));
}

TEST_F(LogRotation, FileThatCannotBeReadIsPassedOver) {
    lout.startDebug();
    writeNumbered({1, 4});
    const FailingCalls failing([](const char* function, const std::string& path) {
        return vesktest::isOpening(function) && path == numbered(4) ? EACCES : 0;
    });
    EXPECT_EQ(rotate(), 0);
    EXPECT_EQ(m_host.read(numbered(4)), "file 4");
    EXPECT_EQ(m_host.read(numbered(2)), "file 1");
    EXPECT_FALSE(m_host.exists(numbered(5)));
}

TEST_F(LogRotation, FailedRemoveIsIgnored) {
    lout.startDebug();
    writeNumbered({1, 2});
    const FailingCalls failing([](const char* function, const std::string&) {
        return std::string(function) == "remove" ? EBUSY : 0;
    });
    EXPECT_EQ(rotate(), 0);
    EXPECT_EQ(m_host.read(numbered(3)), "file 2");
    EXPECT_EQ(m_host.read(numbered(2)), "file 1");
}

TEST_F(LogRotation, LineIsWrittenEvenIfTheRotationFails) {
    startFull();
    {
        const FailingCalls failing([](const char* function, const std::string&) {
            return std::string(function) == "rename" ? EROFS : 0;
        });
        lout << "a line" << '\n';
    }
    EXPECT_FALSE(m_host.exists(numbered(1)));
    EXPECT_GT(size(kLogPath), 104857601U);
}

TEST_F(LogRotation, LinesAreDroppedIfTheFileCannotBeReopened) {
    startFull();
    {
        // Reading it for the rotation still works, opening it anew does not.
        const FailingCalls failing([this](const char* function, const std::string& path) {
            return vesktest::isOpening(function) && path == kLogPath && m_host.exists(numbered(1))
                       ? EMFILE
                       : 0;
        });
        lout << "dropped" << '\n';
    }
    EXPECT_EQ(size(numbered(1)), 104857601U);
    lout << "dropped too" << '\n';
    EXPECT_FALSE(m_host.exists(kLogPath));
    EXPECT_TRUE(lout.isActive());
    lout.startDebug();
    lout << "kept" << '\n';
    EXPECT_EQ(m_log.lines(), LogLines{"kept"});
}
