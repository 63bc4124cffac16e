#include "capture/capture_file.h"

#include "scratch_file.h"
#include "size_limit.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <unistd.h>

namespace {

using namespace veskcap;

bool append(CaptureFile& file, const std::string& text = "x") {
    StartBody body = {0, static_cast<std::uint32_t>(text.size()), 0};
    RecordHeader header = {};
    header.type = kStartRecord;
    std::string record = bytesOf(header) + bytesOf(body) + text;
    return file.append(record.data(), record.size());
}

std::string refusal(const ScratchFile& scratch, std::uint32_t flags = 0, std::uint32_t key = 0) {
    CaptureFile file;
    return file.open(scratch.name(), flags, key) ? std::string() : file.problem();
}

bool contains(const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
}

int descriptorOf(const ScratchFile& scratch) {
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code error;
        if (std::filesystem::read_symlink(entry, error) == scratch.path()) {
            return std::stoi(entry.path().filename().string());
        }
    }
    return -1;
}

TEST(CaptureFile, IsGoneOnWithAndOnlyItsOwnerReadsIt) {
    const ScratchFile scratch;
    for (int time = 0; time < 3; ++time) {
        CaptureFile file;
        ASSERT_TRUE(file.open(scratch.name(), 0, 0)) << file.problem();
        EXPECT_TRUE(append(file));
    }
    EXPECT_EQ(readCapture(scratch.content()).records.size(), 3U);
    struct stat status = {};
    stat(scratch.name(), &status);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST(CaptureFile, TakesWritersAtTheSameTime) {
    const ScratchFile scratch;
    CaptureFile first;
    CaptureFile second;
    ASSERT_TRUE(first.open(scratch.name(), 0, 0));
    ASSERT_TRUE(second.open(scratch.name(), 0, 0)) << second.problem();
    for (int i = 0; i < 10; ++i) {
        EXPECT_TRUE(append(first) && append(second));
    }
    EXPECT_EQ(readCapture(scratch.content()).records.size(), 20U);
}

TEST(CaptureFile, RefusesAFileOfAnotherKindAndLeavesItAlone) {
    const ScratchFile scratch;
    const std::string text(100, 'a');
    scratch.write(text);
    EXPECT_TRUE(contains(refusal(scratch), "no capture file"));
    EXPECT_EQ(scratch.content(), text);
    CaptureFile folder;
    EXPECT_FALSE(folder.open("/tmp", 0, 0));
    CaptureFile device;
    EXPECT_FALSE(device.open("/dev/full", 0, 0));
    EXPECT_TRUE(contains(device.problem(), "no plain file"));
    CaptureFile nowhere;
    EXPECT_FALSE(nowhere.open("/nonexistent/capture", 0, 0));
    EXPECT_TRUE(contains(nowhere.problem(), "No such file"));
}

TEST(CaptureFile, DoesNotMixMaskedAndPlainNorTwoKeys) {
    const ScratchFile plain;
    const ScratchFile masked;
    EXPECT_EQ(refusal(plain), "");
    EXPECT_EQ(refusal(masked, kMasked, 7), "");
    EXPECT_TRUE(contains(refusal(plain, kMasked, 7), "not masked"));
    EXPECT_TRUE(contains(refusal(masked), "masked"));
    EXPECT_TRUE(contains(refusal(masked, kMasked, 8), "another key"));
    EXPECT_EQ(refusal(masked, kMasked, 7), "");
}

TEST(CaptureFile, CutsOffWhatAKilledWriterLeftIncomplete) {
    const ScratchFile scratch;
    {
        CaptureFile file;
        ASSERT_TRUE(file.open(scratch.name(), 0, 0));
        EXPECT_TRUE(append(file) && append(file, "second"));
    }
    const std::string whole = scratch.content();
    for (std::size_t missing = 1; missing < 38; ++missing) {
        scratch.write(whole.substr(0, whole.size() - missing));
        CaptureFile file;
        ASSERT_TRUE(file.open(scratch.name(), 0, 0)) << missing << file.problem();
        EXPECT_TRUE(append(file, "later"));
        const ReadCapture capture = readCapture(scratch.content());
        EXPECT_EQ(capture.damage, "") << missing;
        ASSERT_EQ(capture.records.size(), 2U);
        EXPECT_EQ(capture.records[1].text, "later");
    }
}

TEST(CaptureFile, DoesNotCutOffMoreThanOneRecordCouldBe) {
    const ScratchFile scratch;
    {
        CaptureFile file;
        ASSERT_TRUE(file.open(scratch.name(), 0, 0));
        for (int i = 0; i < 20; ++i) {
            EXPECT_TRUE(append(file, std::string(5000, 'x')));
        }
    }
    std::string damaged = scratch.content();
    damaged[32 + 4 + 3] = 1;  // a length of 16 MiB
    scratch.write(damaged);
    EXPECT_TRUE(contains(refusal(scratch), "damaged"));
    EXPECT_EQ(scratch.content(), damaged);
}

TEST(CaptureFile, FailsAtALimitOfSizeAndTheSignalDoesNotEndTheProcess) {
    const ScratchFile scratch;
    CaptureFile file;
    bool opened = false;
    int written = 0;
    {
        const SizeLimit limit(1000);
        opened = file.open(scratch.name(), 0, 0);
        while (written < 100 && append(file, std::string(200, 'x'))) {
            ++written;
        }
    }
    const std::string problem = file.problem();
    EXPECT_TRUE(opened);
    EXPECT_EQ(written, 4);
    EXPECT_TRUE(contains(problem, "writing to it failed")) << problem;
    const ReadCapture capture = readCapture(scratch.content());
    EXPECT_EQ(capture.records.size(), 4U);
    EXPECT_EQ(capture.damage, "") << "half a record is left";
    CaptureFile next;
    ASSERT_TRUE(next.open(scratch.name(), 0, 0)) << next.problem();
    EXPECT_TRUE(append(next, "later"));
    EXPECT_EQ(readCapture(scratch.content()).damage, "");
    sigset_t pending;
    sigpending(&pending);
    EXPECT_EQ(sigismember(&pending, SIGXFSZ), 0);
}

TEST(CaptureFile, FailsAtALimitOfSizeThatIsSetLater) {
    const ScratchFile scratch;
    CaptureFile file;
    ASSERT_TRUE(file.open(scratch.name(), 0, 0));
    ASSERT_TRUE(append(file));
    {
        const SizeLimit limit(100);
        EXPECT_FALSE(append(file, std::string(200, 'x')));
    }
    EXPECT_TRUE(contains(file.problem(), "writing to it failed")) << file.problem();
    EXPECT_EQ(readCapture(scratch.content()).damage, "");
}

// As another process does between half a record and its being taken back.
TEST(CaptureFile, DoesNotGoOnBehindWhatHasAWrongSum) {
    const ScratchFile scratch;
    {
        CaptureFile file;
        ASSERT_TRUE(file.open(scratch.name(), 0, 0));
        EXPECT_TRUE(append(file, std::string(100, 'a')) && append(file, std::string(300, 'b')));
    }
    const std::string whole = scratch.content();
    std::string flipped = whole;
    flipped[80] = '!';
    for (const std::string& content : {flipped, whole.substr(0, 100) + whole.substr(32 + 132)}) {
        scratch.write(content);
        EXPECT_TRUE(contains(refusal(scratch), "damaged"));
        EXPECT_EQ(scratch.content(), content);
    }
}

TEST(CaptureFile, WritesAHeaderAnewThatAKilledWriterLeftIncomplete) {
    const ScratchFile scratch;
    EXPECT_EQ(refusal(scratch), "");
    const std::string header = scratch.content();
    ASSERT_EQ(header.size(), 32U);
    for (std::size_t size = 1; size < header.size(); ++size) {
        scratch.write(header.substr(0, size));
        EXPECT_EQ(refusal(scratch), "") << size;
        EXPECT_EQ(scratch.content(), header) << size;
    }
    scratch.write("VESKtop");
    EXPECT_TRUE(contains(refusal(scratch), "no capture file"));
    EXPECT_EQ(scratch.content(), "VESKtop");
}

TEST(CaptureFile, LeavesNoHalfOfAHeader) {
    const ScratchFile scratch;
    {
        const SizeLimit limit(10);
        EXPECT_TRUE(contains(refusal(scratch), "writing to it failed"));
    }
    EXPECT_EQ(scratch.content(), "");
}

TEST(CaptureFile, KeepsAwayFromLowDescriptors) {
    const ScratchFile scratch;
    const int next = dup(STDERR_FILENO);
    close(next);
    CaptureFile file;
    ASSERT_TRUE(file.open(scratch.name(), 0, 0));
    const int still = dup(STDERR_FILENO);
    EXPECT_EQ(still, next);
    close(still);
}

TEST(CaptureFile, NeverWritesIntoAFileThatGotItsDescriptor) {
    const ScratchFile scratch;
    const ScratchFile hosts;
    hosts.write("");
    CaptureFile file;
    ASSERT_TRUE(file.open(scratch.name(), 0, 0));
    ASSERT_TRUE(append(file));
    // What a program does that closes all it does not know.
    const int descriptor = descriptorOf(scratch);
    const int own = open(hosts.name(), O_WRONLY);
    ASSERT_EQ(dup2(own, descriptor), descriptor);
    EXPECT_TRUE(append(file)) << file.problem();
    EXPECT_EQ(hosts.content(), "");
    EXPECT_EQ(readCapture(scratch.content()).records.size(), 2U);
    close(own);
}

TEST(CaptureFile, EndsWhereAnotherFileHasTakenItsPlace) {
    const ScratchFile scratch;
    CaptureFile file;
    ASSERT_TRUE(file.open(scratch.name(), 0, 0));
    const int descriptor = descriptorOf(scratch);
    ASSERT_GT(descriptor, 2);
    std::remove(scratch.name());
    scratch.write("of somebody else");
    close(descriptor);
    EXPECT_FALSE(append(file));
    EXPECT_TRUE(contains(file.problem(), "another file")) << file.problem();
    EXPECT_EQ(scratch.content(), "of somebody else");
}

}  // namespace
