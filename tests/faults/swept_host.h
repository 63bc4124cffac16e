// The simulated host of a sweep, and what an operation must leave behind on it.
#pragma once

#include "rows.h"
#include "sim_host.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <iterator>
#include <ostream>
#include <string>

namespace vesktest {

inline void PrintTo(const Row& row, std::ostream* stream) {
    *stream << row.operation << (row.logged ? ", logged" : "");
}

inline std::string nameOfRow(const ::testing::TestParamInfo<Row>& row) {
    return std::string(row.param.operation) + (row.param.logged ? "_logged" : "");
}

// More events than a page holds: the line of the 58th, of 70 bytes, has 4 of them on the next page.
constexpr std::size_t kEventsOfTwoPages = 60;
constexpr std::size_t kEventsOfFirstPage = 57;

// One controller with two volumes, and events that all have an external code.
inline vesksim::Scenario scenarioFor(bool logged, std::size_t events = 4) {
    vesksim::Scenario scenario;
    scenario.configIni.text = std::string("[Logging]\nDebug=") + (logged ? "On" : "Off") +
                              "\n[Polling]\npollingIntervalInSeconds=60\n";
    scenario.adapters[0].volumes.emplace_back();
    scenario.adapters[0].volumes[1].id = 1;
    scenario.adapters[0].volumes[1].vdId = 1;
    scenario.adapters[0].volumes[1].name = "VD_R1_2";
    scenario.adapters[0].events.clear();
    for (std::size_t number = 1; number <= events; ++number) {
        scenario.adapters[0].events.emplace_back(
            "[SEQ]" + std::to_string(1000 + number) +
            "[TIME]1790000000[EVT_ID]0x65[DEV_ID]0[MSG]PD_Drive open_INFO");
    }
    scenario.adapters[0].cutEventLines = true;
    return scenario;
}

inline std::size_t entriesOf(const char* folder) {
    const std::filesystem::directory_iterator iterator(folder);
    return static_cast<std::size_t>(std::distance(begin(iterator), end(iterator)));
}

// What a call must leave as it found it.
struct Resources {
    std::size_t handles = vesksim::SimulatedHost::instance().openHandles();
    std::size_t descriptors = entriesOf("/proc/self/fd");
    std::size_t threads = entriesOf("/proc/self/task");

    friend bool operator==(const Resources& a, const Resources& b) {
        return a.handles == b.handles && a.descriptors == b.descriptors && a.threads == b.threads;
    }
    friend void PrintTo(const Resources& resources, std::ostream* stream) {
        *stream << resources.handles << " handles, " << resources.descriptors << " descriptors, "
                << resources.threads << " threads";
    }
};

// The log takes lines, if there is one.
inline void expectLiveLog(const PrivateHost& files, bool logged) {
    if (logged) {
        const std::string text = files.exists(kLogPath) ? files.read(kLogPath) : std::string();
        ASSERT_GE(text.size(), 7U);
        EXPECT_EQ(text.substr(text.size() - 7), " EXIT \n");
    }
}

inline std::size_t occurrences(const std::string& text, const std::string& part) {
    std::size_t found = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++found;
    }
    return found;
}

// The same of a log that was emptied while nothing ran: whatever stands in between, every function
// has told that it was entered, and that it was left, by a line of its own.
inline void expectWholeLog(const PrivateHost& files, bool logged) {
    expectLiveLog(files, logged);
    if (logged) {
        const std::string text = files.read(kLogPath);
        EXPECT_EQ(text.compare(0, 4, "(T: "), 0) << text.substr(0, 200);
        EXPECT_EQ(occurrences(text, " ENTRY \n"), occurrences(text, " EXIT \n"));
    }
}

inline std::string nameOfMode(const ::testing::TestParamInfo<bool>& logged) {
    return logged.param ? "log" : "no_log";
}

}  // namespace vesktest
