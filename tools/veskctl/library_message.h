// What goes between the program and the process that holds the library: a call one way, its answer
// the other. Both sides are the same program, so the records travel as they lie in memory.
#pragma once

#include "VeskNvme.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace veskctl {

enum class LibraryFunction : std::uint32_t {
    Load,  // no function of the library: what the other side does before it is asked anything
    Initialize,
    AdapterGetCount,
    AdapterGetInfo,
    DiskInfo,
    DiskConfig,
    DiskRaidStatus,
    DiskFreeSpace,
    DiskHealth,
    DiskLocate,
    VolumeInfo,
    VolumeConfig,
    GetEvents,
    LogReads  // no function of the library either
};

// As the library exports it; "the loading" for Load.
const char* nameOf(LibraryFunction function);

enum class AnswerKind : std::uint32_t { Returned, Problem, Threw };

constexpr std::size_t kMessageRoom = 8192;

struct LibraryMessage {
    LibraryFunction function = LibraryFunction::Load;
    AnswerKind kind = AnswerKind::Returned;
    std::uint32_t problemKind = 0;  // a ProblemKind, for AnswerKind::Problem
    UCHAR_ adapterId = 0;
    UCHAR_ id = 0;
    UCHAR_ count = 0;   // as the library set it
    UCHAR_ result = 0;  // what the function returned
    UCHAR_ simulated = 0;
    // The record, both ways; after a failure, and of the loading, a text that ends with NUL.
    alignas(16) std::array<std::uint8_t, kMessageRoom> data = {};
};

constexpr std::size_t kMostEvents = 64;  // of one delivery
static_assert(sizeof(CEvent) * kMostEvents <= kMessageRoom, "a whole delivery has room");

}  // namespace veskctl
