// The library for a long time: nothing grows, and each event is delivered once. A second's worth in
// every run of the tests; scripts/soak says how long it takes else.
#include "private_host.h"
#include "process_use.h"

#include "VeskNvme.h"
#include "sim/host/host_folder.h"
#include "sim/host/simulated_host.h"
#include "sim/redirect/redirect.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <mutex>
#include <string>

namespace {

using vesktest::PrivateHost;
using vesktest::ProcessUse;

std::size_t wanted(const char* variable, std::size_t otherwise) {
    const char* const text = std::getenv(variable);
    return text == nullptr ? otherwise : std::stoul(text);
}

// Every sleep of the polling thread ends when the next poll is asked for.
class PollStepper {
public:
    PollStepper() {
        vesksim::setSleepHandler([this](unsigned) {
            std::unique_lock<std::mutex> lock(m_mutex);
            m_asleep = true;
            m_changed.notify_all();
            m_changed.wait(lock, [this] { return !m_asleep || m_ended; });
            return 0U;
        });
    }
    ~PollStepper() { vesksim::setSleepHandler(nullptr); }
    PollStepper(const PollStepper&) = delete;
    PollStepper& operator=(const PollStepper&) = delete;

    // False after a minute without a sleep.
    bool waitForSleep() {
        const auto deadline = std::chrono::system_clock::now() + std::chrono::minutes(1);
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_until(lock, deadline, [this] { return m_asleep; });
    }
    // One poll, from its beginning to its end.
    void poll() {
        const std::unique_lock<std::mutex> lock(m_mutex);
        m_asleep = false;
        m_changed.notify_all();
    }
    void end() {
        const std::unique_lock<std::mutex> lock(m_mutex);
        m_ended = true;
        m_changed.notify_all();
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_asleep = false;
    bool m_ended = false;
};

// A controller with an event each second or so, all of them mapped, and the library on it.
class Soak : public testing::Test {
protected:
    explicit Soak(const std::string& debug = "Off") {
        vesksim::Scenario scenario;
        scenario.adapters[0].events.clear();
        scenario.adapters[0].randomEvents = vesksim::RandomEvents{7, 1, 1, 0};
        vesksim::writeHostFiles(m_files.path("/"), scenario);
        m_files.writeConfigIni("[Logging]\nDebug=" + debug + "\n");
        host().load(scenario);
        host().setClock([this] { return static_cast<double>(m_seconds.load()); });
    }

    static vesksim::SimulatedHost& host() { return vesksim::SimulatedHost::instance(); }

    // Starts behind a first poll.
    void start() {
        ZT_API_Initialize();
        ASSERT_EQ(ZT_Adapter_GetCount(), 1);
        ASSERT_TRUE(m_stepper.waitForSleep());
    }
    void pollAndDeliver(std::uint64_t secondsLater) {
        ASSERT_NO_FATAL_FAILURE(poll(secondsLater));
        deliver();
    }
    void poll(std::uint64_t secondsLater) {
        m_seconds += secondsLater;
        m_stepper.poll();
        ASSERT_TRUE(m_stepper.waitForSleep());
        ++m_polls;
        host().forgetHistory();  // or the simulation's own record would grow
    }
    // Each number follows the one before.
    void deliver() {
        CEvent events[64];
        UCHAR_ count = 0;
        ASSERT_EQ(ZT_EVT_GetEvent(0, 0, &count, events), ERR_NONE);
        for (UCHAR_ i = 0; i < count; ++i) {
            ASSERT_EQ(events[i].getSequenceNo(), m_delivered + 1);
            ++m_delivered;
        }
    }
    void stop() {
        m_stepper.end();
        ZNV_Library_Finalize();
    }

    PrivateHost m_files;
    PollStepper m_stepper;
    std::atomic<std::uint64_t> m_seconds{0};
    std::uint64_t m_polls = 0;
    std::uint64_t m_delivered = 0;
};

void expectNoMore(const ProcessUse& before, const ProcessUse& behind) {
    // Numbers get longer, and so do texts that hold them.
    EXPECT_LE(behind.heapBytes, before.heapBytes + 4096);
    EXPECT_EQ(behind.descriptors, before.descriptors);
    EXPECT_EQ(behind.threads, before.threads);
}

TEST_F(Soak, PollsAndDeliveriesAccountForEachEvent) {
    const std::size_t polls = wanted("VESK_SOAK_POLLS", 1000);
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_NO_FATAL_FAILURE(deliver());
    // Until the log area has been filled once, the library's map grows.
    for (int i = 0; i < 100; ++i) {
        ASSERT_NO_FATAL_FAILURE(pollAndDeliver(20));
    }
    const ProcessUse before = ProcessUse::now();
    const std::size_t handles = host().openHandles();
    ProcessUse middle = before;
    for (std::size_t i = 0; i < polls; ++i) {
        if (i == polls / 2) {
            middle = ProcessUse::now();
        }
        ASSERT_NO_FATAL_FAILURE(pollAndDeliver(i % 3));
    }
    const ProcessUse behind = ProcessUse::now();
    std::cout << m_polls << " polls, " << m_delivered << " events\nbefore: " << before
              << "\nmiddle: " << middle << "\nbehind: " << behind << '\n';
    expectNoMore(before, behind);
    // By then all lists are as long as they get: what still grows would grow for ever.
    EXPECT_LE(behind.heapBytes, middle.heapBytes + 1024);
    EXPECT_EQ(host().openHandles(), handles);
    const auto states = host().controllerStates();
    EXPECT_EQ(m_delivered + 1, states.begin()->second.events.nextSequence);
    EXPECT_GT(m_delivered, polls / 2);
    stop();
    EXPECT_EQ(host().openHandles(), 0U);
}

TEST(SoakOfStarts, StartsAndStopsLeaveNothingBehind) {
    const std::size_t starts = wanted("VESK_SOAK_STARTS", 100);
    const PrivateHost files;
    vesksim::writeHostFiles(files.path("/"), vesksim::Scenario());
    files.writeConfigIni("[Logging]\nDebug=Off\n");
    vesksim::SimulatedHost& host = vesksim::SimulatedHost::instance();
    host.load(vesksim::Scenario());
    vesksim::setSleepHandler([](unsigned) { return 0U; });
    ZT_API_Initialize();
    ZNV_Library_Finalize();
    host.load(vesksim::Scenario());
    const ProcessUse before = ProcessUse::now();
    for (std::size_t i = 0; i < starts; ++i) {
        ZNV_Library_Initialize();
        ASSERT_EQ(ZT_Adapter_GetCount(), 1);
        ZNV_Library_Finalize();
        ASSERT_EQ(host.openHandles(), 0U);
        host.load(vesksim::Scenario());  // it knows all handles that it ever gave
    }
    const ProcessUse behind = ProcessUse::now();
    std::cout << starts << " starts\nbefore: " << before << "\nbehind: " << behind << '\n';
    expectNoMore(before, behind);
    vesksim::setSleepHandler(nullptr);
}

class SoakOfLog : public Soak {
protected:
    SoakOfLog() : Soak("On") {}

    std::string pathOf(std::size_t number) const {
        return m_files.path(vesktest::kLogPath) +
               (number == 0 ? std::string() : "." + std::to_string(number));
    }
};

// Takes some 100 MiB of the disk for each rotation, 900 at most.
TEST_F(SoakOfLog, RotationsKeepNineFilesAndNoMore) {
    const std::size_t wholeRotations = wanted("VESK_SOAK_ROTATIONS", 0);
    const std::size_t rotations = std::max<std::size_t>(wholeRotations, 1);
    constexpr std::uintmax_t kLimit = 0x6400000;
    ASSERT_NO_FATAL_FAILURE(start());
    const ProcessUse before = ProcessUse::now();
    for (std::size_t done = 0; done < rotations;) {
        if (wholeRotations == 0) {
            // What would take long is a hole in the file.
            std::filesystem::resize_file(pathOf(0), kLimit);
        }
        const std::uintmax_t size = std::filesystem::file_size(pathOf(0));
        ASSERT_NO_FATAL_FAILURE(pollAndDeliver(1));
        done += std::filesystem::file_size(pathOf(0)) < size ? 1 : 0;
    }
    const ProcessUse behind = ProcessUse::now();
    stop();
    std::cout << rotations << " rotations, " << m_polls << " polls\nbefore: " << before
              << "\nbehind: " << behind << '\n';
    EXPECT_EQ(behind.descriptors, before.descriptors);
    EXPECT_EQ(behind.threads, before.threads);
    for (std::size_t number = 1; number <= 9; ++number) {
        const bool there = std::filesystem::exists(pathOf(number));
        EXPECT_EQ(there, number <= rotations && number <= 8) << number;
        if (there) {
            // The line that passes the limit is the last one.
            EXPECT_GT(std::filesystem::file_size(pathOf(number)), kLimit);
            EXPECT_LT(std::filesystem::file_size(pathOf(number)), kLimit + 4096);
        }
    }
}

}  // namespace
