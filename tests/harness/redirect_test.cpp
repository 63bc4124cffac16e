// The host's files and sleep() lead where the harness says, and fail on demand.
#include "failing_calls.h"
#include "from_library.h"
#include "private_host.h"
#include "sim/redirect/redirect.h"
#include "sleep_gate.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <string>
#include <sys/uio.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using vesktest::FailingCalls;
using vesktest::PrivateHost;
using vesktest::SleepGate;

class Redirection : public harness::FromLibrary {};
class SleepGateTest : public harness::FromLibrary {};

INSTANTIATE_TEST_SUITE_P(Harness, Redirection, harness::bothLibraries(), harness::libraryName);
INSTANTIATE_TEST_SUITE_P(Harness, SleepGateTest, harness::bothLibraries(), harness::libraryName);

vesksim::FailureHandler failAll(const std::string& function, int error) {
    return [function, error](const char* called, const std::string&) {
        return called == function ? error : 0;
    };
}

}  // namespace

// ---- The private host's files ----

TEST_P(Redirection, StreamsOpenUnderTheRoot) {
    const PrivateHost host;
    EXPECT_TRUE(calls().writeStream("/scratch/log/a", "first\n", false));
    EXPECT_TRUE(calls().writeStream("/scratch/log/a", "second\n", true));
    EXPECT_EQ(host.read("/scratch/log/a"), "first\nsecond\n");
    EXPECT_TRUE(calls().firstLineIs("/scratch/log/a", "first"));
    EXPECT_FALSE(calls().firstLineIs("/scratch/log/b", "first"));
    const std::string text(100000, 'x');  // goes out past the stream's buffer
    EXPECT_TRUE(calls().writeStream("/var/log/long", text.c_str(), false));
    EXPECT_EQ(host.read("/var/log/long"), text);
}

TEST_P(Redirection, FopenLooksUnderTheRoot) {
    const PrivateHost host;
    host.makeFolder(vesktest::kSecondIniFolder);
    for (const char* const path :
         {"/scratch/log/x", "/var/log/x", "/opt/orvo/pciconfig/Templspcibdf.txt",
          "/etc/cim/orvo/kelpdesk/kelpdesk-storage/x"}) {
        EXPECT_FALSE(calls().canOpen(path)) << path;
        host.write(path, "");
        EXPECT_TRUE(calls().canOpen(path)) << path;
    }
}

TEST_P(Redirection, RemoveRenameAndSymlinkActUnderTheRoot) {
    const PrivateHost host;
    host.write("/scratch/log/a", "text");
    EXPECT_EQ(calls().rename("/scratch/log/a", "/scratch/log/b"), 0);
    EXPECT_FALSE(host.exists("/scratch/log/a"));
    EXPECT_EQ(calls().symlink("/scratch/log/b", "/var/log/b"), 0);
    EXPECT_EQ(host.read("/var/log/b"), "text");
    EXPECT_EQ(calls().symlink("/scratch/log/b", "/var/log/b"), -1);
    EXPECT_EQ(errno, EEXIST);
    EXPECT_EQ(calls().remove("/scratch/log/b"), 0);
    EXPECT_FALSE(host.exists("/scratch/log/b"));
    EXPECT_EQ(calls().remove("/scratch/log/b"), -1);
    EXPECT_EQ(errno, ENOENT);
}

TEST_P(Redirection, WithoutARootTheHostHasNoFiles) {
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

TEST_P(Redirection, OtherPathsAreLeftAlone) {
    const PrivateHost host;
    EXPECT_TRUE(calls().canOpen("/proc/self/status"));
    EXPECT_TRUE(calls().writeStream(host.path("/scratch/log/a").c_str(), "text", false));
    EXPECT_EQ(host.read("/scratch/log/a"), "text");
}

TEST_P(Redirection, PathThatBecomesTooLongIsRefused) {
    const PrivateHost host;
    // Accepted by itself, too long behind any root.
    std::string path = "/scratch/log";
    while (path.size() < 4090) {
        path += "/.";
    }
    EXPECT_FALSE(calls().canOpen((path + "/a").c_str()));
    EXPECT_EQ(errno, ENAMETOOLONG);
}

TEST(HostPath, SaysWhereAPathLeads) {
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

TEST(PrivateHostTest, StartsWithItsFoldersAndLeavesNothing) {
    std::string folder;
    {
        const PrivateHost host;
        folder = vesksim::hostRoot();
        EXPECT_TRUE(host.exists("/scratch/log"));
        EXPECT_TRUE(host.exists("/var/log"));
        EXPECT_TRUE(host.exists("/opt/orvo/pciconfig"));
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

// ---- Failures on demand ----

TEST_P(Redirection, OpeningFailsOnDemand) {
    const PrivateHost host;
    host.write("/scratch/log/a", "text");
    {
        const FailingCalls failing(failAll("fopen", EMFILE));
        EXPECT_FALSE(calls().canOpen("/scratch/log/a"));
        EXPECT_EQ(errno, EMFILE);
        EXPECT_TRUE(calls().firstLineIs("/scratch/log/a", "text"));
    }
    {
        const FailingCalls failing(failAll("fopen64", EMFILE));
        EXPECT_TRUE(calls().canOpen("/scratch/log/a"));
        EXPECT_FALSE(calls().firstLineIs("/scratch/log/a", "text"));
        EXPECT_FALSE(calls().writeStream("/scratch/log/a", "more", true));
    }
    EXPECT_EQ(host.read("/scratch/log/a"), "text");
}

TEST_P(Redirection, CallsOnPathsAndCommandsFailOnDemand) {
    const PrivateHost host;
    host.write("/scratch/log/a", "text");
    std::vector<std::string> asked;
    {
        const FailingCalls failing([&asked](const char* function, const std::string& path) {
            asked.push_back(function + (" " + path));
            return EACCES;
        });
        EXPECT_EQ(calls().remove("/scratch/log/a"), -1);
        EXPECT_EQ(errno, EACCES);
        EXPECT_EQ(calls().rename("/scratch/log/a", "/scratch/log/b"), -1);
        EXPECT_EQ(errno, EACCES);
        EXPECT_EQ(calls().symlink("/scratch/log/a", "/var/log/a"), -1);
        EXPECT_EQ(errno, EACCES);
        EXPECT_FALSE(calls().canRun("pwd"));
        EXPECT_EQ(errno, EACCES);
        EXPECT_EQ(calls().remove("/tmp/vesk-harness-no-such-file"), -1);
        EXPECT_EQ(errno, ENOENT) << "no file of the host: nobody is asked";
        EXPECT_EQ(host.read("/scratch/log/a"), "text") << "the host's own way passes it by";
        host.write("/scratch/log/c", "");
    }
    EXPECT_EQ(asked, (std::vector<std::string>{"remove /scratch/log/a", "rename /scratch/log/a",
                                               "symlink /scratch/log/a", "popen pwd"}));
    EXPECT_FALSE(host.exists("/var/log/a"));
    EXPECT_TRUE(calls().canRun("true"));
}

TEST_P(Redirection, WritingFailsOnDemand) {
    const PrivateHost host;
    std::string asked;
    const FailingCalls failing([&asked](const char* function, const std::string& path) {
        if (!vesktest::isWriting(function)) {
            return 0;
        }
        asked = path;
        return ENOSPC;
    });
    EXPECT_FALSE(calls().writeStream("/scratch/log/a", "text", false));
    EXPECT_EQ(asked, "/scratch/log/a");
    EXPECT_FALSE(calls().writeStream("/var/log/b", std::string(100000, 'x').c_str(), false));
    EXPECT_EQ(asked, "/var/log/b");
    EXPECT_EQ(host.read("/scratch/log/a"), "");
    EXPECT_EQ(host.read("/var/log/b"), "");
}

TEST(FailureHandlers, AreAskedAboutWritesToFilesOfTheHostOnly) {
    const PrivateHost host;
    std::vector<std::string> asked;
    int pipeEnds[2];
    ASSERT_EQ(pipe(pipeEnds), 0);
    std::FILE* const file = std::fopen("/scratch/log/a", "w");
    ASSERT_NE(file, nullptr);
    {
        const FailingCalls failing([&asked](const char* function, const std::string& path) {
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
        EXPECT_EQ(write(-1, text, 4), -1);
        EXPECT_EQ(errno, EBADF);
    }
    EXPECT_EQ(asked, (std::vector<std::string>{"write /scratch/log/a", "writev /scratch/log/a"}));
    std::fclose(file);
    close(pipeEnds[0]);
    close(pipeEnds[1]);
}

TEST(FailureHandlers, MayUseFilesAndReplaceThemselves) {
    const PrivateHost host;
    host.write("/scratch/log/a", "text");
    int asked = 0;
    const FailingCalls failing([&](const char*, const std::string&) {
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

TEST(FailureHandlers, MayChangeWhileOthersCall) {
    const PrivateHost host;
    host.write("/scratch/log/a", "text");
    std::atomic<bool> done{false};
    std::atomic<unsigned> opened{0};
    std::atomic<unsigned> refused{0};
    std::atomic<unsigned> failed{0};  // for any other reason
    std::vector<std::thread> callers;
    for (int i = 0; i < 3; ++i) {
        callers.emplace_back([&] {
            while (!done) {
                std::FILE* const file = std::fopen("/scratch/log/a", "r");
                ++(file != nullptr ? opened : errno == EMFILE ? refused : failed);
                if (file != nullptr) {
                    std::fclose(file);
                }
                sleep(0);
            }
        });
    }
    while (failed == 0 && (refused < 100 || opened == 0)) {
        vesksim::setFailureHandler(failAll("fopen", EMFILE));
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
    EXPECT_EQ(failed, 0U) << "a call saw neither the old setting nor the new one";
}

// ---- Sleep ----

TEST_P(Redirection, SleepGoesToTheHandler) {
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

TEST_P(SleepGateTest, HoldsSleepersUntilReleased) {
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
    EXPECT_EQ(gate.secondsAsked(), (std::vector<unsigned>{50, 60, 70, 80}));
    EXPECT_EQ(calls().sleep(90), 0U) << "later ones too end at once";
}

TEST_P(SleepGateTest, LeavesShorterSleepsAlone) {
    SleepGate gate(50);
    EXPECT_EQ(calls().sleep(0), 0U) << "it would stay there for good";
    EXPECT_EQ(gate.secondsAsked(), std::vector<unsigned>{});
    std::thread sleeper([&] { EXPECT_EQ(calls().sleep(50), 0U); });
    EXPECT_TRUE(gate.waitForSleeper(1));
    gate.releaseAll();
    sleeper.join();
    EXPECT_EQ(gate.secondsAsked(), std::vector<unsigned>{50});
}

TEST_P(SleepGateTest, LetsGoWhenItGoes) {
    std::thread sleeper;
    std::atomic<bool> wakened{false};
    {
        SleepGate gate;
        sleeper = std::thread([&] { wakened = calls().sleep(4000) == 0; });
        EXPECT_TRUE(gate.waitForSleeper(1));
    }
    sleeper.join();
    EXPECT_TRUE(wakened);
}
