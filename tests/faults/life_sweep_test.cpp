// Every call that can fail, failed in turn, under start and stop, under the rotation of the log,
// and under the rewriting of the mark.
#include "failing_calls.h"
#include "fault.h"
#include "operation.h"
#include "rows.h"
#include "sweep.h"
#include "swept_life.h"

#include "VeskNvme.h"
#include "api/command_handler.h"
#include "api/lib_initializer.h"
#include "events/event_monitor.h"
#include "support/ini_files.h"
#include "support/logger.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <mutex>
#include <new>
#include <ostream>
#include <set>
#include <string>
#include <sys/wait.h>
#include <utility>

namespace {

using namespace vesktest;

class LifeSweep : public SweptLife {
protected:
    void startSoundly() {
        EXPECT_EQ(ZT_API_Initialize(), 0);
        EXPECT_EQ(ZT_Adapter_GetCount(), 1);
        EXPECT_TRUE(m_gate->waitForSleeper(1));
    }

    // The library after a start that may have failed is a library that can be started.
    void expectNextLifeToWork(const Resources& before) {
        end();
        begin();
        startSoundly();
        const Answer events = guarded(operationOf("ZT_EVT_GetEvent").run);
        EXPECT_EQ(events.records.size(), 4U);
        stop();
        expectLiveLog(m_host.files(), GetParam().logged);
        end();
        expectResources(before);
    }
};

class StartSweep : public LifeSweep {
protected:
    // What a start that began no thread leaves: the public tear-down refuses to work on it.
    static void removeWithoutThread() {
        CVeskNVMeMonitor::destroyMe();
        CLibInitializer::deleteOSdeviceTalkerInstance();
        CommandHandler::destroyMe();
    }
};

TEST_P(StartSweep, StartFailsAsPromisedAndTheNextOneWorks) {
    const Resources before;
    Answer answer;
    sweep({[this] { begin(); }, [this, &answer] { answer = start(); },
           [&](const Injection& injection) {
               EXPECT_TRUE(answer.thrown.empty() || answer.thrown == "std::bad_alloc" ||
                           answer.thrown == "std::system_error")
                   << answer.thrown;
               if (injection.fault().repeat == Repeat::kOnce) {
                   EXPECT_EQ(answer.thrown == "std::system_error",
                             injection.triggered() &&
                                 injection.failedCalls()[0].rfind("pthread_create", 0) == 0)
                       << "a refused thread, and nothing else";
               }
               EXPECT_TRUE(answer.result == 0 || answer.result == 1);
               const bool polling = polls(before);
               EXPECT_EQ(polling, answer.thrown.empty() && CommandHandler::m_ControllerCount == 1)
                   << "a start that says it is one polls";
               if (polling) {
                   EXPECT_EQ(ZT_Adapter_GetCount(), 1);
                   stop();
               } else {
                   removeWithoutThread();
               }
               expectNextLifeToWork(before);
           },
           ranACommand()},
          GetParam().extent);
}

class StopSweep : public LifeSweep {};

TEST_P(StopSweep, StopStopsAndTheNextStartWorks) {
    const Resources before;
    Answer answer;
    sweep({[this] {
               begin();
               startSoundly();
               m_gate->releaseAll();
           },
           [this, &answer] {
               answer = guarded([this] {
                   CommandHandler::m_libraryFinalized = 1;
                   const bool atItsSecondCall = is("ZT_API_Finalize");
                   const InLibrary inside;
                   if (atItsSecondCall) {
                       ZT_API_Finalize();
                   } else {
                       ZNV_Library_Finalize();
                   }
                   return Answer();
               });
           },
           [&](const Injection&) {
               EXPECT_EQ(answer.thrown, "");
               EXPECT_EQ(Resources().threads, before.threads);
               expectNextLifeToWork(before);
           },
           ranACommand()},
          GetParam().extent);
}

INSTANTIATE_TEST_SUITE_P(Life, StartSweep, ::testing::ValuesIn(kStartRows), nameOfRow);
INSTANTIATE_TEST_SUITE_P(Life, StopSweep, ::testing::ValuesIn(kStopRows), nameOfRow);

// ---- The files that the library writes ----

// The rotated files from the newest on: 0 for the one that was the log, 1 to 3 for what was older.
std::string historyOf(const PrivateHost& files) {
    std::string history;
    for (int number = 1; number <= 8; ++number) {
        const std::string path = std::string(kLogPath) + '.' + std::to_string(number);
        if (files.exists(path)) {
            const std::uintmax_t size = std::filesystem::file_size(files.path(path));
            if (size > 104857600) {
                history += '0';
            } else if (size == std::size("file 1") - 1) {
                history += files.read(path).back();
            }
        }
    }
    return history;
}

TEST(RotationSweep, LogGoesOnWhateverFailsInItsRotation) {
    const PrivateHost files;
    const std::filesystem::path folder = files.path("/scratch/log");
    const std::string longText(5000, 'x');  // written by another call than short ones
    const Resources before;
    sweep({[&] {
               for (const auto& file : std::filesystem::directory_iterator(folder)) {
                   std::filesystem::remove(file.path());
               }
               for (const int number : {1, 2, 3}) {
                   files.write(std::string(kLogPath) + '.' + std::to_string(number),
                               "file " + std::to_string(number));
               }
               files.write(kLogPath, "");
               std::filesystem::resize_file(files.path(kLogPath), 104857601);
               stg::lout.startDebug();
           },
           [&longText] {
               const InLibrary inside;
               stg::lout << longText << '\n';
               ZT_Adapter_GetCount();
           },
           [&](const Injection& injection) {
               ZT_Adapter_GetCount();
               ZT_Adapter_GetCount();
               EXPECT_LT(std::filesystem::file_size(files.path(kLogPath)), std::uintmax_t{1} << 20)
                   << "it is rotated in the end";
               expectLiveLog(files, true);
               stg::lout.stopDebug();
               EXPECT_EQ(Resources(), before);
               // A file that cannot be opened or renamed gives way to the next newer one: one for
               // each call that fails. Where no stream's buffer can be had, none goes.
               const std::string history = historyOf(files);
               const bool costsFiles = injection.fault().kind != FaultKind::kNew;
               EXPECT_GE(history.size() + (costsFiles ? injection.failures() : 0), 4U) << history;
               EXPECT_TRUE(std::is_sorted(history.begin(), history.end())) << history;
               EXPECT_EQ(std::adjacent_find(history.begin(), history.end()), history.end());
           }},
          kRotation);
}

TEST(MarkSweep, MarkIsTheOldOneOrTheNewOneAndStoredIfItIsSaidToBe) {
    const PrivateHost files;
    VeskNVMeLibrary_Helper::m_LibPath = kFirstIniFolder;
    const std::string rows = "[PhysicalDevice]\n1=500\n[EventSequenceNumber]\nSequenceNumber=";
    const Resources before;
    USHORT_INT result = 0;
    sweep({[&] { files.writeMappingIni(rows + "99\n"); },
           [&result] {
               // For the caller, what is thrown is the same as 1.
               result = 1;
               try {
                   const InLibrary inside;
                   result = VeskNVMeLibrary_Helper::writeLastProcessedEventSeqNumberToINIFile(100);
               } catch (const std::bad_alloc&) {
               }
           },
           [&](const Injection&) {
               const std::string text = files.read(kMappingIniPath);
               EXPECT_TRUE(text == rows + "100" || (result == 1 && text == rows + "99\n"))
                   << result << ' ' << text;
               EXPECT_EQ(VeskNVMeLibrary_Helper::writeLastProcessedEventSeqNumberToINIFile(101), 0);
               EXPECT_EQ(files.read(kMappingIniPath), rows + "101");
               EXPECT_EQ(Resources(), before);
           }},
          kMark);
}

class FolderSweep : public ::testing::Test {
protected:
    // Ends the commands that looked for the working folder, whose streams stay open.
    static void sweepSearch(const Extent& extent, const std::string& found) {
        const Resources before;
        std::size_t commandsRun = 0;
        Answer answer;
        sweep({[] { setFolder(""); },
               [&answer] {
                   answer = guarded([] {
                       const InLibrary inside;
                       VeskNVMeLibrary_Helper::getLinuxINIPath();
                       return Answer();
                   });
               },
               [&](const Injection&) {
                   EXPECT_TRUE(answer.thrown.empty() || answer.thrown == "std::bad_alloc");
                   const std::string& folder = VeskNVMeLibrary_Helper::m_LibPath;
                   EXPECT_TRUE(folder.empty() || folder == found) << folder;
                   while (waitpid(-1, nullptr, 0) > 0) {
                       ++commandsRun;
                   }
                   Resources expected = before;
                   expected.descriptors += commandsRun;
                   EXPECT_EQ(Resources(), expected);
               },
               [&commandsRun, known = std::size_t{0}]() mutable {
                   return std::exchange(known, commandsRun) != commandsRun;
               }},
              extent);
    }

    const PrivateHost m_files;
};

TEST_F(FolderSweep, FolderStaysEmptyWithoutAConfiguration) {
    sweepSearch(kFolder, "");
}

TEST_F(FolderSweep, FolderIsThatOfTheConfigurationOrStaysEmpty) {
    m_files.writeConfigIni("[Logging]\n");
    sweepSearch(kFolderWithConfiguration, kFirstIniFolder);
}

struct IntervalRow {
    const char* name;
    const char* value;
    INTEGER seconds;
};

void PrintTo(const IntervalRow& row, std::ostream* stream) {
    *stream << row.value;
}

class IntervalSweep : public ::testing::TestWithParam<IntervalRow> {};

// On the polling thread, where an exception would end the process.
TEST_P(IntervalSweep, IntervalIsThatOfTheFileOrTheDefaultAndNothingIsThrown) {
    const PrivateHost files;
    VeskNVMeLibrary_Helper::m_LibPath = kFirstIniFolder;
    files.writeConfigIni(std::string("[Polling]\npollingIntervalInSeconds=") + GetParam().value +
                         '\n');
    const Resources before;
    Answer answer;
    sweep({[] {},
           [&answer] {
               answer = guarded([] {
                   Answer result;
                   const InLibrary inside;
                   result.result = VeskNVMeLibrary_Helper::readPollingIntervalFromINIFile();
                   return result;
               });
           },
           [&](const Injection&) {
               EXPECT_EQ(answer.thrown, "");
               EXPECT_TRUE(answer.result == GetParam().seconds || answer.result == 50)
                   << answer.result;
               EXPECT_EQ(Resources(), before);
           }},
          kInterval);
}

constexpr IntervalRow kIntervalRows[] = {
    {"Number", "60", 60},
    {"Text", "text", 50},
    {"NumberOutOfRange", "99999999999", 50},
};

INSTANTIATE_TEST_SUITE_P(Life, IntervalSweep, ::testing::ValuesIn(kIntervalRows),
                         [](const auto& row) { return std::string(row.param.name); });

// What symbols.txt says of calls that are swept holds for a library that makes them.
TEST(SweptCalls, AllAreMadeByOneLifeOfTheLibrary) {
    std::set<std::string> calls;
    std::mutex mutex;
    {
        SimHost host(scenarioFor(true));
        const FailingCalls watch([&calls, &mutex](const char* call, const std::string&) {
            const std::lock_guard<std::mutex> lock(mutex);
            calls.insert(call);
            return 0;
        });
        VeskNVMeLibrary_Helper::getLinuxINIPath();
        const std::string configuration = host.files().read(kConfigIniPath);
        std::filesystem::remove(host.files().path(kConfigIniPath));
        VeskNVMeLibrary_Helper::getLinuxINIPath();
        host.files().writeConfigIni(configuration);
        host.files().write(std::string(kLogPath) + ".1", "");
        EXPECT_EQ(host.start(), 1);
        EXPECT_TRUE(host.gate().waitForSleeper(1));
        EXPECT_EQ(guarded(operationOf("ZT_EVT_GetEvent").run).result, 0);
        std::filesystem::resize_file(host.files().path(kLogPath), 104857601);
        stg::lout << "the position is where the file ended before" << '\n';
        stg::lout << std::string(5000, 'x') << '\n';
        ZT_Adapter_GetCount();
        host.stop();
        stg::lout.stopDebug();
    }
    EXPECT_EQ(calls, (std::set<std::string>{"fclose", "fopen", "fopen64", "lseek64", "popen",
                                            "pthread_create", "read", "remove", "rename", "symlink",
                                            "write", "writev"}));
}

}  // namespace
