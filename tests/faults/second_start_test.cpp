// A start under a fault, and then what a host does that knows the exported functions alone: it
// stops what runs, starts anew, is given all events, and stops.
#include "fault.h"
#include "operation.h"
#include "rows.h"
#include "sleep_gate.h"
#include "sweep.h"
#include "swept_host.h"

#include "VeskNvme.h"
#include "api/command_handler.h"
#include "support/heap_record.h"
#include "support/ini_files.h"
#include "support/logger.h"
#include "transport/i_device_talker.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <set>
#include <string>
#include <sys/wait.h>
#include <system_error>
#include <utility>

namespace {

using namespace vesktest;

constexpr std::size_t kEvents = 4;

class SecondStart : public ::testing::TestWithParam<Row> {
protected:
    SecondStart() : m_host(scenarioFor(GetParam().logged, kEvents)) {
        m_mapping = m_host.files().read(kMappingIniPath);
        // What is made once in a process is made now, a sanitizer's own thread among it.
        begin();
        EXPECT_EQ(start().thrown, "");
        stop();
        end();
    }

    bool readsConfiguration() const {
        return std::string(GetParam().operation) == "ZT_API_Initialize";
    }

    // As if the library had just been loaded; for a start that reads no configuration, as behind a
    // life that did.
    void begin() {
        m_gate = std::make_unique<SleepGate>();
        CommandHandler::m_libraryInitialized = 0;
        CommandHandler::m_ControllerCount = 0;
        VeskNVMeLibrary_Helper::m_LibPath = readsConfiguration() ? "" : kFirstIniFolder;
        m_host.driver().load(scenarioFor(GetParam().logged, kEvents));
        m_host.files().writeMappingIni(m_mapping);
        if (GetParam().logged) {
            m_host.files().write(kLogPath, "");
            if (!readsConfiguration()) {
                stg::lout.startDebug();
            }
        }
    }
    void end() {
        stg::lout.stopDebug();
        m_gate.reset();
        while (waitpid(-1, nullptr, 0) > 0) {
            ++m_commandsRun;
        }
    }

    Answer start() const {
        return guarded([this] {
            Answer result;
            const bool withConfiguration = readsConfiguration();
            const InLibrary inside;
            if (withConfiguration) {
                result.result = ZT_API_Initialize();
            } else {
                ZNV_Library_Initialize();
            }
            return result;
        });
    }
    // The connection that the next scan leaves open: it is nobody's then.
    static HeapRecord<void> connectionThatIsLeft() {
        IZNVDeviceTalker* const talker = stg::liveDeviceTalker();
        return HeapRecord<void>(talker == nullptr ? nullptr : talker->getHandle());
    }
    static bool polls(const Resources& before) { return Resources().threads > before.threads; }
    // Behind the first poll.
    void stop() {
        EXPECT_TRUE(m_gate->waitForSleeper(1));
        m_gate->releaseAll();
        ZNV_Library_Finalize();
        m_gate.reset();
        m_gate = std::make_unique<SleepGate>();
    }

    SimHost m_host;
    std::string m_mapping;
    std::unique_ptr<SleepGate> m_gate;
    std::size_t m_commandsRun = 0;
};

TEST_P(SecondStart, BringsAllEventsWhateverFailedInTheFirst) {
    const Resources before;
    Answer answer;
    sweep({[this] { begin(); }, [this, &answer] { answer = start(); },
           [&](const Injection&) {
               if (polls(before)) {
                   EXPECT_EQ(answer.thrown, "");
                   stop();
                   EXPECT_EQ(Resources().handles, 0U);
               }
               // "each scan leaves one more connection open": that of a start that found the
               // controller and then had no memory or no thread.
               const std::size_t left = Resources().handles;
               EXPECT_LE(left, 1U);
               const HeapRecord<void> connection = connectionThatIsLeft();
               EXPECT_EQ(connection != nullptr, left != 0);
               EXPECT_EQ(start().thrown, "");
               if (!polls(before)) {
                   // "works once per process": the first one went through, if without a controller.
                   EXPECT_TRUE(readsConfiguration());
                   EXPECT_EQ(CommandHandler::m_libraryInitialized, 1);
                   ZNV_Library_Initialize();
               }
               EXPECT_EQ(ZT_Adapter_GetCount(), 1);
               EXPECT_TRUE(m_gate->waitForSleeper(1));
               const Answer events = guarded(operationOf("ZT_EVT_GetEvent").run);
               // A configuration that could not be opened is not looked for again.
               const bool foundFolder = VeskNVMeLibrary_Helper::m_LibPath == kFirstIniFolder;
               EXPECT_EQ(events.records.size(), foundFolder ? kEvents : 0U);
               stop();
               EXPECT_EQ(Resources().handles, left);
               end();
               Resources expected = before;
               expected.handles = left;
               expected.descriptors += m_commandsRun;
               EXPECT_EQ(Resources(), expected);
               answer = Answer();
           },
           [this, known = std::size_t{0}]() mutable {
               return std::exchange(known, m_commandsRun) != m_commandsRun;
           }},
          GetParam().extent);
}

INSTANTIATE_TEST_SUITE_P(Life, SecondStart, ::testing::ValuesIn(kStartRows), nameOfRow);

}  // namespace
