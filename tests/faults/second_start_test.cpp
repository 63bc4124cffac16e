// A start under a fault, and then what a host does that knows the exported functions alone: it
// stops what runs, starts anew, is given all events, and stops.
#include "fault.h"
#include "operation.h"
#include "rows.h"
#include "sweep.h"
#include "swept_life.h"

#include "VeskNvme.h"
#include "api/command_handler.h"
#include "support/heap_record.h"
#include "support/ini_files.h"
#include "transport/i_device_talker.h"

#include <gtest/gtest.h>

#include <cstddef>

namespace {

using namespace vesktest;

class SecondStart : public SweptLife {
protected:
    bool readsConfiguration() const { return is("ZT_API_Initialize"); }
    void begin() { SweptLife::begin(readsConfiguration() ? "" : kFirstIniFolder); }

    // The connection that the next scan leaves open: it is nobody's then.
    static HeapRecord<void> connectionThatIsLeft() {
        IZNVDeviceTalker* const talker = stg::liveDeviceTalker();
        return HeapRecord<void>(talker == nullptr ? nullptr : talker->getHandle());
    }
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
               EXPECT_EQ(events.records.size(), foundFolder ? 4U : 0U);
               stop();
               EXPECT_EQ(Resources().handles, left);
               end();
               Resources expected = before;
               expected.handles = left;
               expectResources(expected);
               answer = Answer();
           },
           ranACommand()},
          GetParam().extent);
}

INSTANTIATE_TEST_SUITE_P(Life, SecondStart, ::testing::ValuesIn(kStartRows), nameOfRow);

}  // namespace
