// FIFOs in the place of the host's files, for whose other side whoever opens one waits; and files
// without an end.
#include "VeskNvme.h"
#include "log_file.h"
#include "memory_faults.h"
#include "sim_host.h"

#include "support/logger.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <future>
#include <new>
#include <set>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using vesktest::PrivateHost;
using vesktest::SimHost;

// Puts a FIFO in the place of a file; the result is what the file held.
std::string replaceByFifo(const PrivateHost& files, const std::string& hostPath) {
    std::string text = files.exists(hostPath) ? files.read(hostPath) : std::string();
    const std::string path = files.path(hostPath);
    std::filesystem::remove(path);
    EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
    return text;
}

bool isOver(const std::future<void>& operation) {
    return operation.wait_for(std::chrono::milliseconds(1)) == std::future_status::ready;
}

// Writes to readers of a FIFO, one after the other, while an operation runs.
class Feeder {
public:
    Feeder(const std::string& path, const std::string& text) : m_path(path), m_text(text) {
        std::signal(SIGPIPE, SIG_IGN);
    }

    // Runs the operation on this thread. How many readers waited and were fed, at least.
    int feed(const std::function<void()>& operation) {
        std::promise<void> over;
        int fed = 0;
        std::thread writer([this, &over, &fed] {
            const std::future<void> future = over.get_future();
            while (!isOver(future)) {
                fed += feedOne(future) ? 1 : 0;
            }
        });
        operation();
        over.set_value();
        writer.join();
        return fed;
    }

private:
    // This succeeds only when somebody has the FIFO open for reading, or waits in the open. A
    // reader may go before it is fed; the text is for the next one then.
    bool feedOne(const std::future<void>& over) const {
        const int descriptor = open(m_path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
        if (descriptor == -1) {
            return false;
        }
        bool fed = false;
        do {
            fed = write(descriptor, m_text.data(), m_text.size()) ==
                  static_cast<ssize_t>(m_text.size());
        } while (!fed && !isOver(over));
        close(descriptor);
        return fed;
    }

    std::string m_path;
    std::string m_text;
};

// The operation with a FIFO in the place of a file that it reads: it waits for each writer.
void expectToWait(SimHost& host, const std::string& hostPath,
                  const std::function<void()>& operation) {
    const std::string text = replaceByFifo(host.files(), hostPath);
    EXPECT_GT(Feeder(host.files().path(hostPath), text).feed(operation), 0);
}

}  // namespace

TEST(Fifo, AsConfigurationHoldsUpSetUpUntilItIsWritten) {
    SimHost host;
    host.files().writeConfigIni("[Polling]\npollingIntervalInSeconds=77\n");
    expectToWait(host, vesktest::kConfigIniPath, [&host] {
        EXPECT_EQ(host.start(), 1);
        EXPECT_TRUE(host.gate().waitForSleeper(1));
    });
    EXPECT_EQ(host.gate().secondsAsked(), std::vector<unsigned>{77});
}

TEST(Fifo, AsAddressFileHoldsUpSetUpUntilItIsWritten) {
    SimHost host;
    expectToWait(host, vesktest::kPciAddressPath, [&host] { EXPECT_EQ(host.start(), 1); });
}

TEST(Fifo, AsPciDumpHoldsUpTheCallUntilItIsWritten) {
    SimHost host;
    ASSERT_EQ(host.start(), 1);
    expectToWait(host, vesktest::kPciConfigPath, [] {
        CController controller;
        UCHAR_ count = 0;
        EXPECT_EQ(ZT_Adapter_GetInfo(0, &count, &controller), 0);
        EXPECT_EQ(controller.getLinkSpeed(), 3);
    });
}

// The mark cannot be stored in it: the same events come again. A lookup that
// finds the writer of another one gone reads nothing, so which events come is left to chance.
TEST(Fifo, AsMappingFileHoldsUpEachLookupAndKeepsNoMark) {
    SimHost host;
    ASSERT_EQ(host.start(), 1);
    ASSERT_TRUE(host.gate().waitForSleeper(1));
    std::set<UNSIGNED_INTEGER> delivered;
    bool again = false;
    expectToWait(host, vesktest::kMappingIniPath, [&host, &delivered, &again] {
        std::vector<CEvent> events(64);
        for (std::size_t sleeps = 2; !again && sleeps <= 50; ++sleeps) {
            UCHAR_ count = 0;
            EXPECT_EQ(ZT_EVT_GetEvent(0, 0, &count, events.data()), 1);
            for (UCHAR_ index = 0; index < count; ++index) {
                again = !delivered.insert(events[index].getSequenceNo()).second || again;
            }
            host.gate().release();
            EXPECT_TRUE(host.gate().waitForSleeper(sleeps));
        }
    });
    EXPECT_TRUE(again);
}

// Opening it to write waits for a reader; its size cannot be told, so the first line rotates, and
// looking at what is to be moved waits for a writer. The file of the next line is an ordinary one.
TEST(Fifo, AsLogHoldsUpTheStartAndTheFirstLineAndIsThenRotatedAway) {
    const PrivateHost files;
    replaceByFifo(files, vesktest::kLogPath);
    const std::string path = files.path(vesktest::kLogPath);
    std::promise<void> started;
    std::promise<void> readerGone;
    std::thread logging([&started, &readerGone] {
        stg::lout.startDebug();
        started.set_value();
        readerGone.get_future().wait();
        stg::lout << "a line" << '\n';
    });
    const int reader = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    started.get_future().wait();
    close(reader);
    readerGone.set_value();
    int writer = -1;
    for (int tries = 0; writer == -1 && tries < 30000; ++tries) {
        writer = open(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
        std::this_thread::sleep_for(std::chrono::milliseconds(writer == -1 ? 1 : 0));
    }
    EXPECT_NE(writer, -1) << "the line waits to read it";
    logging.join();
    close(writer);
    EXPECT_EQ(vesktest::LogFile(files).lines(), vesktest::LogLines{"a line"});
    EXPECT_TRUE(std::filesystem::is_fifo(path + ".1"));
    stg::lout.stopDebug();
}

namespace {

// The operation with a file that never ends, and a memory that does.
void readWithoutEnd(SimHost& host, const char* hostPath, const std::function<void()>& operation) {
    const std::string path = host.files().path(hostPath);
    std::filesystem::remove(path);
    std::filesystem::create_symlink("/dev/zero", path);
    const vesktest::FailNew fault(vesktest::AllocationSize::atLeast(1 << 20));
    operation();
    EXPECT_TRUE(fault.triggered());
}

}  // namespace

TEST(EndlessFile, AsConfigurationMakesSetUpThrow) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    SimHost host;
    readWithoutEnd(host, vesktest::kConfigIniPath,
                   [] { EXPECT_THROW(ZT_API_Initialize(), std::bad_alloc); });
    EXPECT_EQ(ZT_Adapter_GetCount(), 0);
}

TEST(EndlessFile, AsLogTakesAllLinesAndIsNeverRotated) {
    const PrivateHost files;
    const std::string path = files.path(vesktest::kLogPath);
    std::filesystem::create_symlink("/dev/zero", path);
    stg::lout.startDebug();
    ZT_Adapter_GetCount();  // some lines
    stg::lout.stopDebug();
    EXPECT_EQ(std::filesystem::read_symlink(path), "/dev/zero");
    EXPECT_FALSE(files.exists(std::string(vesktest::kLogPath) + ".1"));
}

TEST(EndlessFile, AsPciFilesReadsAsNothing) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    SimHost host;
    readWithoutEnd(host, vesktest::kPciAddressPath, [&host] { EXPECT_EQ(host.start(), 1); });
    readWithoutEnd(host, vesktest::kPciConfigPath, [] {
        CController controller;
        UCHAR_ count = 0;
        EXPECT_EQ(ZT_Adapter_GetInfo(0, &count, &controller), 0);
        EXPECT_EQ(controller.getVendorID(), 0x1B4B);
        EXPECT_EQ(controller.getLinkSpeed(), 0);
    });
}
