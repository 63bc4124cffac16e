// Shows that the harness catches what it is to catch: each call is made from inside a shared
// library, once linked to the program and once loaded at run time.
#include "library_stand_in.h"
#include "log_file.h"
#include "memory_faults.h"
#include "noise.h"
#include "private_host.h"
#include "scripted_driver.h"
#include "sim/redirect/redirect.h"
#include "sleep_gate.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <dlfcn.h>
#include <fstream>
#include <stdexcept>
#include <string>
#include <sys/uio.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using harness::LibraryCalls;
using vesktest::AdapterLiteral;
using vesktest::AllocationSize;
using vesktest::FailMalloc;
using vesktest::FailNew;
using vesktest::LogFile;
using vesktest::LogLines;
using vesktest::PrivateHost;
using vesktest::record;
using vesktest::Record;
using vesktest::RecordBytes;
using vesktest::Repeat;
using vesktest::Reply;
using vesktest::ScriptedDriver;
using vesktest::SignatureLiteral;
using vesktest::SleepGate;

enum class Library { kLinked, kLoaded };

// The loaded library stays until the process ends, as its code may be a sanitizer's business then.
const LibraryCalls* loadedCalls() {
    static void* const s_library = dlopen(HARNESS_LOADED_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    if (s_library == nullptr) {
        throw std::runtime_error(dlerror());
    }
    using Entry = const LibraryCalls*();
    return reinterpret_cast<Entry*>(dlsym(s_library, "harnessLibraryCalls"))();
}

class FromLibrary : public ::testing::TestWithParam<Library> {
protected:
    const LibraryCalls& calls() const { return *m_calls; }

private:
    const LibraryCalls* m_calls =
        GetParam() == Library::kLinked ? harnessLibraryCalls() : loadedCalls();
};

INSTANTIATE_TEST_SUITE_P(Harness, FromLibrary,
                         ::testing::Values(Library::kLinked, Library::kLoaded),
                         [](const ::testing::TestParamInfo<Library>& param) {
                             return param.param == Library::kLinked ? "Linked" : "Loaded";
                         });

class FailureHandlerScope {
public:
    explicit FailureHandlerScope(vesksim::FailureHandler handler) {
        vesksim::setFailureHandler(std::move(handler));
    }
    ~FailureHandlerScope() { vesksim::setFailureHandler(nullptr); }
    FailureHandlerScope(const FailureHandlerScope&) = delete;
    FailureHandlerScope& operator=(const FailureHandlerScope&) = delete;
};

vesksim::FailureHandler failAll(const std::string& function, int error) {
    return [function, error](const char* called, const std::string&) {
        return called == function ? error : 0;
    };
}

// ---- Redirection --------------------------------------------------------------------------------

TEST_P(FromLibrary, StreamsOpenUnderTheRoot) {
    const PrivateHost host;
    EXPECT_TRUE(calls().writeStream("/scratch/log/a", "first\n", false));
    EXPECT_TRUE(calls().writeStream("/scratch/log/a", "second\n", true));
    EXPECT_EQ(host.read("/scratch/log/a"), "first\nsecond\n");
    EXPECT_TRUE(calls().firstLineIs("/scratch/log/a", "first"));
    EXPECT_FALSE(calls().firstLineIs("/scratch/log/b", "first"));
}

TEST_P(FromLibrary, LongTextReachesTheFileUnderTheRoot) {
    const PrivateHost host;
    const std::string text(100000, 'x');  // goes out past the stream's buffer
    EXPECT_TRUE(calls().writeStream("/var/log/long", text.c_str(), false));
    EXPECT_EQ(host.read("/var/log/long"), text);
}

TEST_P(FromLibrary, FopenLooksUnderTheRoot) {
    const PrivateHost host;
    EXPECT_FALSE(calls().canOpen("/opt/orvo/pciconfig/Templspcibdf.txt"));
    host.write("/opt/orvo/pciconfig/Templspcibdf.txt", "");
    EXPECT_TRUE(calls().canOpen("/opt/orvo/pciconfig/Templspcibdf.txt"));
    host.makeFolder(vesktest::kSecondIniFolder);
    host.write("/etc/cim/orvo/kelpdesk/kelpdesk-storage/x", "");
    EXPECT_TRUE(calls().canOpen("/etc/cim/orvo/kelpdesk/kelpdesk-storage/x"));
}

TEST_P(FromLibrary, RemoveActsUnderTheRoot) {
    const PrivateHost host;
    host.write("/scratch/log/a", "");
    EXPECT_EQ(calls().remove("/scratch/log/a"), 0);
    EXPECT_FALSE(host.exists("/scratch/log/a"));
    EXPECT_EQ(calls().remove("/scratch/log/a"), -1);
    EXPECT_EQ(errno, ENOENT);
}

TEST_P(FromLibrary, RenameActsUnderTheRoot) {
    const PrivateHost host;
    host.write("/scratch/log/a", "text");
    EXPECT_EQ(calls().rename("/scratch/log/a", "/scratch/log/b"), 0);
    EXPECT_FALSE(host.exists("/scratch/log/a"));
    EXPECT_EQ(host.read("/scratch/log/b"), "text");
}

TEST_P(FromLibrary, LinkLeadsToTheFileUnderTheRoot) {
    const PrivateHost host;
    EXPECT_EQ(calls().symlink("/scratch/log/a", "/var/log/a"), 0);
    host.write("/scratch/log/a", "text");
    EXPECT_EQ(host.read("/var/log/a"), "text");
    EXPECT_EQ(calls().symlink("/scratch/log/a", "/var/log/a"), -1);
    EXPECT_EQ(errno, EEXIST);
}

TEST_P(FromLibrary, WithoutARootTheHostHasNoFiles) {
    EXPECT_EQ(vesksim::hostRoot(), "");
    EXPECT_FALSE(calls().writeStream("/scratch/log/a", "text", false));
    EXPECT_FALSE(calls().canOpen("/opt/orvo/pciconfig/Templspcibdf.txt"));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(calls().remove("/scratch/log/a"), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(calls().rename("/scratch/log/a", "/scratch/log/b"), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(calls().symlink("/scratch/log/a", "/var/log/a"), -1);
    EXPECT_EQ(errno, ENOENT);
}

TEST_P(FromLibrary, OtherPathsAreLeftAlone) {
    const PrivateHost host;
    EXPECT_TRUE(calls().canOpen("/proc/self/status"));
    EXPECT_TRUE(calls().writeStream(host.path("/scratch/log/a").c_str(), "text", false));
    EXPECT_EQ(host.read("/scratch/log/a"), "text");
}

TEST_P(FromLibrary, PathThatBecomesTooLongIsRefused) {
    const PrivateHost host;
    // Accepted by itself, too long behind any root.
    std::string path = "/scratch/log";
    while (path.size() < 4090) {
        path += "/.";
    }
    EXPECT_FALSE(calls().canOpen((path + "/a").c_str()));
    EXPECT_EQ(errno, ENAMETOOLONG);
}

TEST(Redirect, HostPathSaysWhereAPathLeads) {
    {
        const PrivateHost host;
        EXPECT_EQ(vesksim::hostPath("/scratch/log/a"), host.path("/scratch/log/a"));
        EXPECT_EQ(vesksim::hostPath("/etc/cim/a"), host.path("/etc/cim/a"));
        EXPECT_EQ(vesksim::hostPath("/etc/cimx"), "/etc/cimx");
        EXPECT_EQ(vesksim::hostPath("scratch/log/a"), "scratch/log/a");
    }
    EXPECT_EQ(vesksim::hostPath("/scratch/log/a"), "");
    EXPECT_THROW(vesksim::setHostRoot("/"), std::invalid_argument);
}

TEST_P(FromLibrary, SleepGoesToTheHandler) {
    unsigned asked = 0;
    vesksim::setSleepHandler([&asked](unsigned seconds) {
        asked = seconds;
        return 7U;
    });
    EXPECT_EQ(calls().sleep(50), 7U);
    EXPECT_EQ(asked, 50U);
    vesksim::setSleepHandler(nullptr);
    EXPECT_EQ(calls().sleep(0), 0U);
    EXPECT_EQ(asked, 50U);
}

// ---- Failures on demand -------------------------------------------------------------------------

TEST_P(FromLibrary, OpeningFailsOnDemand) {
    const PrivateHost host;
    host.write("/scratch/log/a", "text");
    {
        const FailureHandlerScope scope(failAll("fopen", EMFILE));
        EXPECT_FALSE(calls().canOpen("/scratch/log/a"));
        EXPECT_EQ(errno, EMFILE);
        EXPECT_TRUE(calls().firstLineIs("/scratch/log/a", "text"));
    }
    {
        const FailureHandlerScope scope(failAll("fopen64", EMFILE));
        EXPECT_TRUE(calls().canOpen("/scratch/log/a"));
        EXPECT_FALSE(calls().firstLineIs("/scratch/log/a", "text"));
        EXPECT_FALSE(calls().writeStream("/scratch/log/a", "more", true));
    }
    EXPECT_EQ(host.read("/scratch/log/a"), "text");
}

TEST_P(FromLibrary, RemoveRenameAndSymlinkFailOnDemand) {
    const PrivateHost host;
    host.write("/scratch/log/a", "text");
    std::vector<std::string> asked;
    const FailureHandlerScope scope([&asked](const char* function, const std::string& path) {
        asked.push_back(function + (" " + path));
        return EACCES;
    });
    EXPECT_EQ(calls().remove("/scratch/log/a"), -1);
    EXPECT_EQ(errno, EACCES);
    EXPECT_EQ(calls().rename("/scratch/log/a", "/scratch/log/b"), -1);
    EXPECT_EQ(errno, EACCES);
    EXPECT_EQ(calls().symlink("/scratch/log/a", "/var/log/a"), -1);
    EXPECT_EQ(errno, EACCES);
    EXPECT_EQ(calls().remove("/tmp/vesk-harness-no-such-file"), -1);
    EXPECT_EQ(errno, ENOENT);
    const std::vector<std::string> expected = {"remove /scratch/log/a", "rename /scratch/log/a",
                                               "symlink /scratch/log/a"};
    EXPECT_EQ(asked, expected);
    EXPECT_EQ(host.read("/scratch/log/a"), "text");
    EXPECT_FALSE(host.exists("/var/log/a"));
}

TEST_P(FromLibrary, PopenFailsOnDemand) {
    std::string asked;
    {
        const FailureHandlerScope scope([&asked](const char* function, const std::string& path) {
            asked = function + (" " + path);
            return ENOMEM;
        });
        EXPECT_FALSE(calls().canRun("pwd"));
        EXPECT_EQ(errno, ENOMEM);
    }
    EXPECT_EQ(asked, "popen pwd");
    EXPECT_TRUE(calls().canRun("true"));
}

TEST_P(FromLibrary, WritingFailsOnDemand) {
    const PrivateHost host;
    const std::string longText(100000, 'x');
    std::string asked;
    const FailureHandlerScope scope([&asked](const char* function, const std::string& path) {
        const std::string called = function;
        if (called != "write" && called != "writev") {
            return 0;
        }
        asked = path;
        return ENOSPC;
    });
    EXPECT_FALSE(calls().writeStream("/scratch/log/a", "text", false));
    EXPECT_EQ(asked, "/scratch/log/a");
    EXPECT_FALSE(calls().writeStream("/var/log/b", longText.c_str(), false));
    EXPECT_EQ(asked, "/var/log/b");
    EXPECT_EQ(host.read("/scratch/log/a"), "");
    EXPECT_EQ(host.read("/var/log/b"), "");
}

TEST(Redirect, WriteAndWritevAskOnlyForFilesOfTheHost) {
    const PrivateHost host;
    std::vector<std::string> asked;
    int pipeEnds[2];
    ASSERT_EQ(pipe(pipeEnds), 0);
    std::FILE* const file = std::fopen("/scratch/log/a", "w");
    ASSERT_NE(file, nullptr);
    {
        const FailureHandlerScope scope([&asked](const char* function, const std::string& path) {
            asked.push_back(function + (" " + path));
            return ENOSPC;
        });
        char text[] = "text";
        const iovec piece = {text, 4};
        EXPECT_EQ(write(pipeEnds[1], text, 4), 4);
        EXPECT_EQ(writev(pipeEnds[1], &piece, 1), 4);
        EXPECT_EQ(write(fileno(file), text, 4), -1);
        EXPECT_EQ(errno, ENOSPC);
        EXPECT_EQ(writev(fileno(file), &piece, 1), -1);
        EXPECT_EQ(errno, ENOSPC);
        errno = 0;
        EXPECT_EQ(write(-1, text, 4), -1);
        EXPECT_EQ(errno, EBADF);
    }
    const std::vector<std::string> expected = {"write /scratch/log/a", "writev /scratch/log/a"};
    EXPECT_EQ(asked, expected);
    std::fclose(file);
    close(pipeEnds[0]);
    close(pipeEnds[1]);
}

TEST(Redirect, HandlerMayUseFilesAndReplaceItself) {
    const PrivateHost host;
    host.write("/scratch/log/a", "text");
    int asked = 0;
    const FailureHandlerScope scope([&](const char*, const std::string&) {
        ++asked;
        std::ofstream("/scratch/log/note") << "asked";  // not asked about
        vesksim::setFailureHandler(nullptr);
        return EIO;
    });
    EXPECT_EQ(std::remove("/scratch/log/a"), -1);
    EXPECT_EQ(errno, EIO);
    EXPECT_EQ(std::remove("/scratch/log/a"), 0);
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(host.read("/scratch/log/note"), "asked");
}

TEST(Redirect, HandlersMayChangeWhileOthersCall) {
    const PrivateHost host;
    host.write("/scratch/log/a", "text");
    std::atomic<bool> done{false};
    std::atomic<unsigned> opened{0};
    std::atomic<unsigned> refused{0};
    std::vector<std::thread> callers;
    for (int i = 0; i < 3; ++i) {
        callers.emplace_back([&] {
            while (!done || opened == 0) {
                const std::ifstream stream("/scratch/log/a");
                ++(stream.is_open() ? opened : refused);
                sleep(0);
            }
        });
    }
    while (refused < 100) {
        vesksim::setFailureHandler(failAll("fopen64", EMFILE));
        vesksim::setSleepHandler([](unsigned) { return 0U; });
        std::this_thread::yield();
        vesksim::setFailureHandler(nullptr);
        vesksim::setSleepHandler(nullptr);
        vesksim::setHostRoot(vesksim::hostRoot());
    }
    done = true;
    for (std::thread& caller : callers) {
        caller.join();
    }
    EXPECT_GE(refused, 100U);
    EXPECT_GE(opened, 1U);
}

// ---- Private host -------------------------------------------------------------------------------

TEST(PrivateHostTest, StartsWithItsFoldersAndLeavesNothing) {
    std::string folder;
    {
        const PrivateHost host;
        folder = vesksim::hostRoot();
        EXPECT_TRUE(host.exists("/scratch/log"));
        EXPECT_TRUE(host.exists("/var/log"));
        EXPECT_TRUE(host.exists("/opt/orvo/pciconfig"));
        EXPECT_TRUE(host.exists("/opt/orvo/kelpdesk/etc/kelpdesk-storage"));
        EXPECT_FALSE(host.exists("/etc/cim"));
        host.writeConfigIni("[Logging]\n");
        host.writeMappingIni("[Adapter]\n");
        EXPECT_EQ(host.read("/opt/orvo/kelpdesk/etc/kelpdesk-storage/libVeskNVMeConfig.ini"),
                  "[Logging]\n");
        EXPECT_EQ(host.read("/opt/orvo/kelpdesk/etc/kelpdesk-storage/libVeskNVMeAlertMapping.ini"),
                  "[Adapter]\n");
        EXPECT_THROW(host.read("/scratch/log/a"), std::runtime_error);
        EXPECT_THROW(host.write("/etc/cim/a", ""), std::runtime_error);
        EXPECT_THROW(host.path("scratch"), std::runtime_error);
        ASSERT_EQ(access(folder.c_str(), F_OK), 0);
    }
    EXPECT_EQ(vesksim::hostRoot(), "");
    EXPECT_EQ(access(folder.c_str(), F_OK), -1);
}

TEST(PrivateHostTest, ItsOwnOperationsPassFailureHandlersBy) {
    const PrivateHost host;
    const FailureHandlerScope scope([](const char*, const std::string&) { return EIO; });
    host.write("/scratch/log/a", "text");
    EXPECT_EQ(host.read("/scratch/log/a"), "text");
}

// ---- Log file -----------------------------------------------------------------------------------

TEST(LogFileTest, TakesPrefixesOff) {
    const PrivateHost host;
    const LogFile log(host);
    EXPECT_FALSE(log.exists());
    EXPECT_EQ(log.raw(), "");
    EXPECT_EQ(log.lines(), LogLines{});
    host.write(vesktest::kLogPath,
               "(T: 140012345678) [Thu Nov  6 09:05:00 2025] A::b() ENTRY \n"
               "(T: thread::id of a non-executing thread) [Mon Dec 29 23:59:60 10000] [x] y\n"
               "(T: 1) [Thu Nov 20 09:05:00 2025] \n"
               "(T: 1) [Thu Nov 20 09:05:00 2025] A::b() EXIT \n");
    const LogLines expected = {"A::b() ENTRY ", "[x] y", "", "A::b() EXIT "};
    EXPECT_EQ(log.lines(), expected);
    const LogLines withoutTrace = {"[x] y", ""};
    EXPECT_EQ(log.linesWithoutTrace(), withoutTrace);
    ASSERT_EQ(log.entries().size(), 4U);
    EXPECT_EQ(log.entries()[0].thread, "140012345678");
    EXPECT_EQ(log.entries()[0].time, "Thu Nov  6 09:05:00 2025");
    EXPECT_EQ(log.entries()[1].thread, "thread::id of a non-executing thread");
}

TEST(LogFileTest, SplitsWhereAPrefixFollowsOnTheSameRow) {
    const PrivateHost host;
    host.write(vesktest::kLogPath, "(T: 1) [Thu Nov 20 09:05:00 2025] cut here"
                                   "(T: 2) [Thu Nov 20 09:05:01 2025] (T: 3) next\n"
                                   "(T: 1) [Thu Nov 20 09:05:00 2025] "
                                   "(T: 2) [Thu Nov 20 09:05:01 2025] last");
    const LogLines expected = {"cut here", "(T: 3) next", "", "last"};
    EXPECT_EQ(LogFile(host).lines(), expected);
}

TEST(LogFileTest, MarksLinesWithoutAWellFormedPrefix) {
    const PrivateHost host;
    host.write(vesktest::kLogPath, "plain\n"
                                   "\n"
                                   "(T: 0x1) [Thu Nov 20 09:05:00 2025] a\n"
                                   "(T: 1) [Thu Nov 6 09:05:00 2025] b\n"
                                   "(T: 1) [Xxx Nov 20 09:05:00 2025] c\n"
                                   "(T: 1) [Thu Nov 20 09:05:00 2025]\n"
                                   "(T: 1)[Thu Nov 20 09:05:00 2025] d\n");
    const LogLines expected = {"<no prefix> plain",
                               "<no prefix> ",
                               "<no prefix> (T: 0x1) [Thu Nov 20 09:05:00 2025] a",
                               "<no prefix> (T: 1) [Thu Nov 6 09:05:00 2025] b",
                               "<no prefix> (T: 1) [Xxx Nov 20 09:05:00 2025] c",
                               "<no prefix> (T: 1) [Thu Nov 20 09:05:00 2025]",
                               "<no prefix> (T: 1)[Thu Nov 20 09:05:00 2025] d"};
    EXPECT_EQ(LogFile(host).lines(), expected);
}

TEST(LogFileTest, SearchesLines) {
    const LogLines lines = {"one", "two", "one", "three"};
    EXPECT_TRUE(vesktest::contains(lines, "two"));
    EXPECT_FALSE(vesktest::contains(lines, "tw"));
    EXPECT_TRUE(vesktest::containsPart(lines, "hre"));
    EXPECT_FALSE(vesktest::containsPart(lines, "four"));
    EXPECT_EQ(vesktest::count(lines, "one"), 2U);
    EXPECT_TRUE(vesktest::inOrder(lines, {"one", "two", "one"}));
    EXPECT_TRUE(vesktest::inOrder(lines, {}));
    const ::testing::AssertionResult result = vesktest::inOrder(lines, {"two", "three", "one"});
    EXPECT_FALSE(result);
    EXPECT_EQ(std::string(result.message()), "text 2 is missing behind line 4: \"one\"\n"
                                             "in: { \"one\", \"two\", \"one\", \"three\" }");
}

// ---- Scripted driver ----------------------------------------------------------------------------

const char kTable[64] = {};
const SignatureLiteral kGlobal = {0x01000000, "nvmeMgmt", "VMware", 1, kTable};

std::vector<std::uint8_t> signatureBytes() {
    std::vector<std::uint8_t> bytes(80, 0);
    bytes[3] = 1;
    std::memcpy(&bytes[4], "nvmeMgmt", 8);
    std::memcpy(&bytes[36], "VMware", 6);
    bytes[68] = 1;
    const void* const table = kTable;
    std::memcpy(&bytes[72], &table, 8);
    return bytes;
}

// A record as literal bytes with this data address.
RecordBytes commandBytes(std::uint8_t opcode, void* data) {
    RecordBytes bytes{};
    bytes[0] = opcode;
    bytes[41] = 4;
    bytes[96] = 0x80;
    bytes[97] = 0x84;
    bytes[98] = 0x1e;
    std::memcpy(&bytes[104], &data, 8);
    return bytes;
}

Record commandE2() {
    return record({{0, "e2"}, {40, "00 04 00 00"}, {96, "8084 1E 00"}});
}

int invoke(const LibraryCalls& calls, std::uint64_t handle, std::uint32_t code,
           RecordBytes& bytes) {
    return calls.invokeDriver(handle, 0, 17, 2, &code, bytes.data());
}

TEST_P(FromLibrary, DriverFollowsItsScript) {
    ScriptedDriver driver;
    driver.expectOpen(kGlobal, 0, 0x55);
    driver.expectAdapterList(0x55, {{"vmhba1", "sig1"}, {std::string(32, 'n'), "sig2"}}, 3);
    driver.expectClose(0x55);
    driver.expectOpen(kGlobal, 9, 0x66);
    Reply reply;
    reply.bytes = {1, 0, 3};
    reply.bufferSize = 8;
    reply.completionStatus = 0x0203;
    reply.uioStatus = 0x04050607;
    reply.resultCode = 12;
    driver.expectCommand(commandE2(), reply);

    std::uint64_t handle = 1;
    EXPECT_EQ(calls().openDriver(signatureBytes().data(), 0, &handle), 0);
    EXPECT_EQ(handle, 0x55U);
    EXPECT_EQ(driver.openCount(), 1U);

    std::uint32_t listed = 0;
    std::vector<char> list(5120, 0);
    EXPECT_EQ(calls().invokeDriver(0x55, 0, 16, 2, &listed, list.data()), 0);
    EXPECT_EQ(listed, 3U);
    EXPECT_STREQ(&list[0], "vmhba1");
    EXPECT_STREQ(&list[32], "sig1");
    EXPECT_NE(list[79], 0);
    EXPECT_EQ(std::string(&list[80], 32), "nnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnn");
    EXPECT_STREQ(&list[112], "sig2");
    EXPECT_EQ(list[160], 0);

    EXPECT_EQ(calls().closeDriver(0x55), 0);
    EXPECT_EQ(driver.openCount(), 0U);
    handle = 1;
    EXPECT_EQ(calls().openDriver(signatureBytes().data(), 0, &handle), 9);
    EXPECT_EQ(handle, 1U);

    std::vector<std::uint8_t> data(9, 0);
    RecordBytes bytes = commandBytes(0xe2, data.data());
    const RecordBytes sent = bytes;
    EXPECT_EQ(invoke(calls(), 0x55, 1, bytes), 12);
    EXPECT_EQ(driver.lastRecord(), sent);
    EXPECT_EQ(data[0], 1);
    EXPECT_EQ(data[1], 0);
    EXPECT_EQ(data[2], 3);
    EXPECT_EQ(std::count(data.begin() + 3, data.begin() + 8, 0), 0);
    EXPECT_EQ(data[8], 0);
    EXPECT_EQ(bytes[78], 0x03);
    EXPECT_EQ(bytes[79], 0x02);
    EXPECT_EQ(bytes[84], 0x07);
    EXPECT_EQ(bytes[87], 0x04);
    EXPECT_EQ(driver.callCount(), 5U);
}

TEST_P(FromLibrary, DriverRefusesAWrongSignature) {
    for (const std::size_t wrong : {0U, 4U, 12U, 35U, 36U, 42U, 67U, 68U, 72U}) {
        ScriptedDriver driver;
        driver.expectOpen(kGlobal, 0, 0x55);
        std::vector<std::uint8_t> signature = signatureBytes();
        signature[wrong] = static_cast<std::uint8_t>(signature[wrong] ^ 0x10);
        std::uint64_t handle = 0;
        int result = 0;
        EXPECT_NONFATAL_FAILURE(result = calls().openDriver(signature.data(), 0, &handle),
                                "  byte " + std::to_string(wrong) + " is ");
        EXPECT_EQ(result, -1);
        EXPECT_EQ(handle, 0U);
    }
    SignatureLiteral withoutTable = kGlobal;
    withoutTable.callbacks = nullptr;
    ScriptedDriver driver;
    driver.expectOpen(withoutTable, 0, 0x55);
    driver.expectOpen(kGlobal, 0, 0x55);
    std::uint64_t handle = 0;
    EXPECT_EQ(calls().openDriver(signatureBytes().data(), 0, &handle), 0);
    EXPECT_NONFATAL_FAILURE(calls().openDriver(signatureBytes().data(), 5, &handle), "cookie is 5");
}

TEST_P(FromLibrary, DriverRefusesAWrongRecord) {
    const LibraryCalls& library = calls();
    std::uint8_t data[8] = {};
    for (std::size_t wrong = 0; wrong < vesktest::kRecordSize; ++wrong) {
        if (wrong >= 104 && wrong < 112) {
            continue;  // any address will do
        }
        ScriptedDriver driver;
        driver.expectCommand(commandE2());
        RecordBytes bytes = commandBytes(0xe2, data);
        bytes[wrong] = static_cast<std::uint8_t>(bytes[wrong] ^ 0x01);
        EXPECT_NONFATAL_FAILURE(invoke(library, 1, 1, bytes),
                                "  byte " + std::to_string(wrong) + " is ");
    }
    ScriptedDriver driver;
    driver.expectCommand(commandE2());
    RecordBytes bytes = commandBytes(0xe2, nullptr);
    EXPECT_NONFATAL_FAILURE(invoke(library, 1, 1, bytes), "the data address is null");
    driver.expectCommand(record({{0, "e2"}, {41, "04"}, {96, "80 84 1e"}}, false));
    EXPECT_EQ(invoke(library, 1, 1, bytes), 0);
    driver.expectCommand(record({{0, "e2"}, {41, "04"}, {96, "80 84 1e"}}, false));
    bytes = commandBytes(0xe2, data);
    EXPECT_NONFATAL_FAILURE(invoke(library, 1, 1, bytes), "the data address is not null");
}

TEST_P(FromLibrary, DriverRefusesWrongArguments) {
    const LibraryCalls& library = calls();
    std::uint8_t data[8] = {};
    RecordBytes bytes = commandBytes(0xe2, data);
    std::uint32_t code = 1;
    ScriptedDriver driver;
    driver.expectOpen(kGlobal, 0, 0x55);
    std::uint64_t handle = 0;
    EXPECT_EQ(library.openDriver(signatureBytes().data(), 0, &handle), 0);
    for (int i = 0; i < 6; ++i) {
        driver.expectCommand(commandE2());
    }
    EXPECT_NONFATAL_FAILURE(invoke(library, 0x54, 1, bytes), "handle is 84, expected 85");
    EXPECT_NONFATAL_FAILURE(invoke(library, 0x55, 2, bytes), "request code is 2, expected 1");
    EXPECT_NONFATAL_FAILURE(library.invokeDriver(0x55, 1, 17, 2, &code, bytes.data()),
                            "instance is 1");
    EXPECT_NONFATAL_FAILURE(library.invokeDriver(0x55, 0, 18, 2, &code, bytes.data()),
                            "no such callback");
    EXPECT_NONFATAL_FAILURE(library.invokeDriver(0x55, 0, 17, 3, &code, bytes.data()),
                            "parameter count is 3");
    EXPECT_NONFATAL_FAILURE(library.invokeDriver(0x55, 0, 17, 2, &code, nullptr),
                            "a null parameter");
    Record other = commandE2();
    other.requestCode = 3;
    other.handle = 0x77;
    driver.expectCommand(other);
    EXPECT_EQ(invoke(library, 0x77, 3, bytes), 0);
    driver.expectAdapterList(0x55, {}, 0);
    EXPECT_NONFATAL_FAILURE(library.invokeDriver(0x56, 0, 16, 2, &code, bytes.data()),
                            "handle is 86, expected 85");
    driver.expectClose(0x55);
    EXPECT_NONFATAL_FAILURE(library.closeDriver(0x56), "handle is 86, expected 85");
    driver.expectClose(0x55, 4);
    EXPECT_EQ(library.closeDriver(0x55), 4);
}

TEST_P(FromLibrary, DriverRefusesExtraAndMisplacedCalls) {
    const LibraryCalls& library = calls();
    std::uint8_t data[8] = {};
    RecordBytes bytes = commandBytes(0xe2, data);
    std::uint64_t handle = 0;
    std::uint32_t listed = 0;
    ScriptedDriver driver;
    int result = 0;
    EXPECT_NONFATAL_FAILURE(result = library.closeDriver(3),
                            "call 1 is a close of handle 3, expected: no further call");
    EXPECT_EQ(result, -1);
    EXPECT_NONFATAL_FAILURE(invoke(library, 1, 1, bytes), "expected: no further call");
    EXPECT_NONFATAL_FAILURE(library.openDriver(signatureBytes().data(), 0, &handle),
                            "expected: no further call");
    EXPECT_NONFATAL_FAILURE(library.invokeDriver(1, 0, 16, 2, &listed, bytes.data()),
                            "expected: no further call");
    driver.expectClose(3);
    EXPECT_NONFATAL_FAILURE(invoke(library, 1, 1, bytes), "expected: close of handle 3");
    driver.expectCommand(commandE2());
    EXPECT_NONFATAL_FAILURE(library.closeDriver(3), "expected: callback 17 with opcode e2");
}

TEST(ScriptedDriverTest, ReportsMissingCalls) {
    EXPECT_NONFATAL_FAILURE(
        {
            ScriptedDriver driver;
            driver.expectClose(3);
            driver.expectCommand(commandE2());
        },
        "calls that did not come:\n  close of handle 3\n  callback 17 with opcode e2\n");
}

TEST_P(FromLibrary, DriverOutOfLifeRefuses) {
    int result = 0;
    EXPECT_NONFATAL_FAILURE(result = calls().closeDriver(3), "no ScriptedDriver lives");
    EXPECT_EQ(result, -1);
}

TEST(ScriptedDriverTest, RefusesASecondOne) {
    ScriptedDriver first;
    EXPECT_NONFATAL_FAILURE(ScriptedDriver second, "another ScriptedDriver lives");
    first.expectClose(3);
    EXPECT_EQ(harnessLibraryCalls()->closeDriver(3), 0);
}

TEST_P(FromLibrary, DriverHookMayThrowThroughTheCall) {
    std::uint8_t data[8] = {};
    RecordBytes bytes = commandBytes(0xe2, data);
    ScriptedDriver driver;
    Reply reply;
    reply.bytes = {1};
    reply.bufferSize = 1;
    reply.hook = [] {
        throw std::bad_alloc();
    };
    driver.expectCommand(commandE2(), reply);
    EXPECT_THROW(invoke(calls(), 1, 1, bytes), std::bad_alloc);
    EXPECT_EQ(data[0], 0);
}

TEST_P(FromLibrary, DriverRefusesAReplyWithoutABuffer) {
    RecordBytes bytes = commandBytes(0xe2, nullptr);
    Record withoutData = commandE2();
    withoutData.expectData = false;
    Reply reply;
    reply.bufferSize = 1;
    ScriptedDriver driver;
    driver.expectCommand(withoutData, reply);
    int result = 0;
    EXPECT_NONFATAL_FAILURE(result = invoke(calls(), 1, 1, bytes), "no buffer for the reply");
    EXPECT_EQ(result, -1);
}

TEST(ScriptedDriverTest, RefusesBadLiterals) {
    EXPECT_THROW(record({{0, "e"}}), std::invalid_argument);
    EXPECT_THROW(record({{0, "g0"}}), std::invalid_argument);
    EXPECT_THROW(record({{0, ""}}), std::invalid_argument);
    EXPECT_THROW(record({{0, "e 2"}}), std::invalid_argument);
    EXPECT_THROW(record({{119, "01 02"}}), std::invalid_argument);
    EXPECT_THROW(record({{120, "01"}}), std::invalid_argument);
    EXPECT_THROW(record({{0, "01 02"}, {1, "02"}}), std::invalid_argument);
    EXPECT_THROW(record({{103, "01 02"}}), std::invalid_argument);
    EXPECT_THROW(record({{111, "01"}}), std::invalid_argument);
    EXPECT_EQ(record({{112, "Ff"}}).bytes[112], 0xff);
    ScriptedDriver driver;
    Reply tooLong;
    tooLong.bytes = {1, 2};
    tooLong.bufferSize = 1;
    EXPECT_THROW(driver.expectCommand(commandE2(), tooLong), std::invalid_argument);
    EXPECT_THROW(driver.expectAdapterList(1, {{std::string(33, 'n'), ""}}, 1),
                 std::invalid_argument);
    EXPECT_THROW(driver.expectOpen({1, std::string(33, 'n'), "", 1, nullptr}, 0, 1),
                 std::invalid_argument);
}

TEST(NoiseTest, IsNonZeroAndTheSameEachTime) {
    const std::vector<std::uint8_t> bytes = vesktest::noise(10000, 1);
    EXPECT_EQ(bytes.size(), 10000U);
    EXPECT_EQ(std::count(bytes.begin(), bytes.end(), 0), 0);
    EXPECT_EQ(vesktest::noise(10000, 1), bytes);
    EXPECT_NE(vesktest::noise(10000, 2), bytes);
}

// ---- Memory faults ------------------------------------------------------------------------------

// An unlikely size, so that nothing else is counted.
constexpr std::size_t kSize = 54321;

TEST_P(FromLibrary, MallocFailsOnce) {
    const FailMalloc fail(AllocationSize::exactly(kSize), 2);
    EXPECT_TRUE(calls().canMalloc(kSize));
    EXPECT_FALSE(fail.triggered());
    EXPECT_TRUE(calls().canMalloc(kSize + 1));
    EXPECT_FALSE(calls().canMalloc(kSize));
    EXPECT_TRUE(fail.triggered());
    EXPECT_TRUE(calls().canMalloc(kSize));
    EXPECT_EQ(fail.seen(), 3U);
}

TEST_P(FromLibrary, CallocCountsTheProduct) {
    const FailMalloc fail(AllocationSize::atLeast(54000), 1, Repeat::kEachLater);
    EXPECT_TRUE(calls().canCalloc(54, 999));
    EXPECT_FALSE(calls().canCalloc(54, 1000));
    EXPECT_EQ(errno, ENOMEM);
    EXPECT_FALSE(calls().canCalloc(1, 60000));
    EXPECT_FALSE(calls().canMalloc(54000));
    EXPECT_EQ(fail.seen(), 3U);
}

TEST_P(FromLibrary, MallocFaultsNest) {
    const FailMalloc outer(AllocationSize::exactly(kSize), 1);
    {
        const FailMalloc inner(AllocationSize::exactly(kSize), 0);
        EXPECT_TRUE(calls().canMalloc(kSize));
        EXPECT_EQ(inner.seen(), 1U);
        EXPECT_FALSE(inner.triggered());
    }
    EXPECT_FALSE(outer.triggered());
    EXPECT_FALSE(calls().canMalloc(kSize));
    EXPECT_TRUE(outer.triggered());
}

TEST_P(FromLibrary, MallocFaultsStayOnTheirThread) {
    const FailMalloc fail(AllocationSize::exactly(kSize));
    bool other = false;
    std::thread([&] { other = calls().canMalloc(kSize); }).join();
    EXPECT_TRUE(other);
    EXPECT_EQ(fail.seen(), 0U);
    EXPECT_FALSE(calls().canMalloc(kSize));
}

TEST_P(FromLibrary, AllocationsAreLeftAloneWithoutAFault) {
    EXPECT_TRUE(calls().canMalloc(kSize));
    EXPECT_TRUE(calls().canCalloc(1, kSize));
    EXPECT_TRUE(calls().canNew(kSize));
    EXPECT_TRUE(calls().canNewArray(kSize));
}

TEST_P(FromLibrary, MallocFaultsDoNotReachNew) {
    const FailMalloc fail(AllocationSize::exactly(kSize));
    EXPECT_TRUE(calls().canNew(kSize));
    EXPECT_TRUE(calls().canNewArray(kSize));
    EXPECT_EQ(fail.seen(), 0U);
}

TEST_P(FromLibrary, NewFailsOnce) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    const FailNew fail(AllocationSize::exactly(kSize), 2);
    EXPECT_TRUE(calls().canNew(kSize));
    EXPECT_TRUE(calls().canMalloc(kSize));
    EXPECT_FALSE(calls().canNewArray(kSize));
    EXPECT_TRUE(fail.triggered());
    EXPECT_TRUE(calls().canNewArray(kSize));
    EXPECT_EQ(fail.seen(), 3U);
}

TEST_P(FromLibrary, EachLaterNewFails) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    const FailNew fail(AllocationSize::exactly(kSize), 1, Repeat::kEachLater);
    EXPECT_FALSE(calls().canNew(kSize));
    EXPECT_FALSE(calls().canNewArray(kSize));
    EXPECT_EQ(::operator new(kSize, std::nothrow), nullptr);
    EXPECT_EQ(fail.seen(), 3U);
}

TEST(MemoryFaultsTest, ABuildThatCannotFailNewSaysSo) {
    if (vesktest::kCanFailNew) {
        EXPECT_NO_THROW(FailNew(AllocationSize::exactly(kSize)));
    } else {
        EXPECT_THROW(FailNew(AllocationSize::exactly(kSize)), std::logic_error);
    }
}

TEST(MemoryFaultsTest, FileCallsDoNotAllocateOnTheirOwn) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    const PrivateHost host;
    const std::string path = host.path("/scratch/log/a");
    const auto allocationsOfOpening = [](const char* name) {
        const FailNew count(AllocationSize::any(), 0);
        EXPECT_EQ(std::fopen(name, "r"), nullptr);
        return count.seen();
    };
    EXPECT_EQ(allocationsOfOpening("/scratch/log/a"), 0U);
    EXPECT_EQ(allocationsOfOpening(path.c_str()), 0U);
}

// ---- Sleep gate ---------------------------------------------------------------------------------

TEST_P(FromLibrary, GateHoldsSleepersUntilReleased) {
    SleepGate gate;
    std::atomic<int> wakened{0};
    std::thread sleeper([&] {
        for (const unsigned seconds : {50U, 60U, 70U, 80U}) {
            EXPECT_EQ(calls().sleep(seconds), 0U);
            ++wakened;
        }
    });
    EXPECT_TRUE(gate.waitForSleeper(1));
    EXPECT_EQ(wakened, 0);
    gate.release();
    EXPECT_TRUE(gate.waitForSleeper(2));
    EXPECT_EQ(wakened, 1);
    gate.release(2);
    EXPECT_TRUE(gate.waitForSleeper(4));
    EXPECT_EQ(wakened, 3);
    gate.releaseAll();
    sleeper.join();
    const std::vector<unsigned> expected = {50, 60, 70, 80};
    EXPECT_EQ(gate.secondsAsked(), expected);
    EXPECT_EQ(calls().sleep(90), 0U);
    EXPECT_TRUE(gate.waitForSleeper(5));
}

TEST_P(FromLibrary, GateLetsGoWhenItGoes) {
    std::thread sleeper;
    {
        SleepGate gate;
        sleeper = std::thread([&] { calls().sleep(4000); });
        EXPECT_TRUE(gate.waitForSleeper(1));
    }
    sleeper.join();
}

}  // namespace
