// The text of the file with another mark, as the library has to read it.
#include "veskctl/mark_file.h"

#include "veskctl/problem.h"

#include "samples.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace veskctl {

namespace {

TEST(MarkFile, OnlyTheNumberChanges) {
    struct Row {
        const char* before;
        const char* after;
    };
    const std::vector<Row> rows = {
        {"[Adapter]\n1=2\n[EventSequenceNumber]\nSequenceNumber=1234\n",
         "[Adapter]\n1=2\n[EventSequenceNumber]\nSequenceNumber=56\n"},
        // A line end of two characters has no room behind the number.
        {"[Adapter]\r\n1=2\r\n[EventSequenceNumber]\r\nSequenceNumber=1\r\n",
         "[Adapter]\r\n1=2\r\n[EventSequenceNumber]\r\nSequenceNumber=56"},
        {"[EventSequenceNumber]\n  SequenceNumber = 9\n",
         "[EventSequenceNumber]\nSequenceNumber=56\n"},
        // Behind the last "=" the library writes, so the mark goes to the end.
        {"[EventSequenceNumber]\nSequenceNumber=9\n[Adapter]\n1=2",
         "[Adapter]\n1=2\n[EventSequenceNumber]\nSequenceNumber=56\n"},
        // A kill between a write in place and the cut behind it.
        {"[PhysicalDevice]\n34=1\n[EventSequenceNumber]\nSequenceNumber=7\n34\n",
         "[PhysicalDevice]\n34=1\n[EventSequenceNumber]\nSequenceNumber=56\n"},
        {"[EventSequenceNumber]\nSequenceNumber=7\n[PhysicalDevice]\n34\n",
         "[PhysicalDevice]\n34\n[EventSequenceNumber]\nSequenceNumber=56\n"},
        {"; nothing else", "; nothing else\n[EventSequenceNumber]\nSequenceNumber=56\n"},
        {"", "[EventSequenceNumber]\nSequenceNumber=56\n"}};
    for (const Row& row : rows) {
        EXPECT_EQ(withMark(row.before, "file", 56), row.after);
    }
}

TEST(MarkFile, WhatTheLibraryWouldMisreadIsRefused) {
    try {
        withMark("", "file", 2147483648U);
        FAIL();
    } catch (const ProblemError& error) {
        EXPECT_EQ(error.problem().kind, ProblemKind::MarkNotStored);
        EXPECT_TRUE(contains(error.what(), "file: the library would misread the mark 2147483648"))
            << error.what();
    }
}

TEST(MarkFile, ACopyHasNoOtherMark) {
    EXPECT_EQ(copyWithMark("[EventSequenceNumber]\r\nSequenceNumber=9\r\n[Adapter]\r\n1=2", 3),
              "[-]\n\n[Adapter]\r\n1=2\n[EventSequenceNumber]\nSequenceNumber=3\n");
}

// A file of its own for one test.
class StoredMark : public ::testing::Test {
protected:
    StoredMark() {
        std::string pattern = (fs::temp_directory_path() / "mark-XXXXXX").string();
        m_folder = mkdtemp(pattern.data());
        m_path = m_folder + "/mapping.ini";
        std::ofstream(m_path) << kBefore;
    }
    ~StoredMark() override { fs::remove_all(m_folder); }

    std::string text() const {
        std::ifstream file(m_path);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }
    // Whether somebody holds the lock on the file that is there now.
    bool isLocked() const {
        const int descriptor = open(m_path.c_str(), O_RDONLY | O_CLOEXEC);
        const bool locked = flock(descriptor, LOCK_EX | LOCK_NB) != 0;
        close(descriptor);
        return locked;
    }

    static constexpr const char* kBefore = "SequenceNumber=1234\n";
    static constexpr const char* kAfter = "SequenceNumber=7\n";
    std::string m_folder;
    std::string m_path;
};

TEST_F(StoredMark, FileWithASecondNameIsWrittenInPlace) {
    fs::create_hard_link(m_path, m_folder + "/second.ini");
    replaceText(m_path, kBefore, kAfter);
    EXPECT_EQ(text(), kAfter);
    EXPECT_EQ(fs::hard_link_count(m_path), 2U);
}

TEST_F(StoredMark, FileThatIsNotThereIsNotMade) {
    EXPECT_THROW(replaceText(m_path + ".none", "", kAfter), ProblemError);
    EXPECT_FALSE(fs::exists(m_path + ".none"));
}

TEST_F(StoredMark, LockThatWasWaitedForIsOnTheFileThatIsThereThen) {
    auto first = std::make_unique<MarkLock>(m_path);
    EXPECT_TRUE(isLocked());
    std::atomic<bool> hasSecond{false};
    std::thread waiting([&] {
        const MarkLock second(m_path);
        EXPECT_EQ(text(), kAfter);
        EXPECT_TRUE(isLocked());
        hasSecond = true;
    });
    EXPECT_FALSE(hasSecond);
    replaceText(m_path, kBefore, kAfter);
    first.reset();
    waiting.join();
    EXPECT_TRUE(hasSecond);
    EXPECT_FALSE(isLocked());
}

}  // namespace

}  // namespace veskctl
