// A library that answers from records set by the test. One at a time: functions of a library have
// no place to keep which one they belong to.
#pragma once

#include "veskctl/library.h"

#include "VeskNvme.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

class FakeLibrary {
public:
    FakeLibrary();
    ~FakeLibrary();

    FakeLibrary(const FakeLibrary&) = delete;
    FakeLibrary& operator=(const FakeLibrary&) = delete;

    veskctl::LibraryFunctions functions() const;

    struct Slot {
        std::optional<PD_Info> info = std::nullopt;
        std::optional<PD_Config> config = std::nullopt;
        std::optional<PD_RaidStatus> raidStatus = std::nullopt;
        std::optional<PD_FreeSpaceInfo> freeSpace = std::nullopt;
        std::optional<SMART_INFO_ARRAY> health = std::nullopt;
        std::optional<VD_Info> volumeInfo = std::nullopt;
        std::optional<VD_Config> volumeConfig = std::nullopt;
    };

    std::optional<std::array<std::uint8_t, 304>> controller;
    std::array<Slot, 2> slots;
    std::map<std::string, int> results;                // of functions that fail
    std::string throwing;                              // name of a function that throws
    std::vector<std::string> calls;                    // name and id of each, and the light's state
    std::vector<std::array<std::uint8_t, 64>> events;  // of the next delivery
};

class WithFakeLibrary : public testing::Test {
protected:
    FakeLibrary library;
    FakeLibrary::Slot& slot = library.slots[1];
    std::vector<veskctl::Problem> problems;
};
