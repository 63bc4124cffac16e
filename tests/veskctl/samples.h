// Records as a library hands them over: written out by hand, with noise in all bytes that carry
// nothing. And what tests ask about results.
#pragma once

#include "veskctl/problem.h"

#include "VeskNvme.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <string>
#include <vector>

template <std::size_t kSize>
class RecordBytes {
public:
    RecordBytes() { m_bytes.fill(0xA5); }

    RecordBytes& put(std::size_t offset, std::initializer_list<std::uint8_t> bytes) {
        std::copy(bytes.begin(), bytes.end(),
                  m_bytes.begin() + static_cast<std::ptrdiff_t>(offset));
        return *this;
    }

    // The text, and NULs up to the end of its field.
    RecordBytes& putText(std::size_t offset, std::size_t room, const std::string& text) {
        std::memset(m_bytes.data() + offset, 0, room);
        std::memcpy(m_bytes.data() + offset, text.data(), std::min(room, text.size()));
        return *this;
    }

    const std::array<std::uint8_t, kSize>& bytes() const { return m_bytes; }

    template <class Record>
    Record as() const {
        static_assert(sizeof(Record) == kSize, "the record has another size");
        Record record;
        std::memcpy(static_cast<void*>(&record), m_bytes.data(), kSize);
        return record;
    }

private:
    std::array<std::uint8_t, kSize> m_bytes = {};
};

using ControllerBytes = RecordBytes<304>;

ControllerBytes sampleController();

// Of disk 1.
PD_Info sampleDiskInfo();
PD_Config sampleDiskConfig();
PD_RaidStatus sampleRaidStatus();
PD_FreeSpaceInfo sampleFreeSpace();
// Used 103, spare 7, threshold 10.
SMART_INFO_ARRAY sampleHealth(std::uint8_t status);

// A document in one line, so that documents are compared and printed as texts.
std::string compact(const veskctl::Json& json);
std::string compact(const char* text);

// The value at a JSON pointer, as JSON: "\"ok\"", "null". "missing" where there is none.
std::string at(const veskctl::Json& json, const std::string& pointer);

veskctl::Json parsed(const std::string& text);

// "code: message" of each.
std::vector<std::string> told(const std::vector<veskctl::Problem>& problems);

bool contains(const std::string& text, const std::string& part);
