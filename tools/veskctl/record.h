// What the library's records hold: numbers, texts, and members of records that may be missing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <optional>
#include <string>

namespace veskctl {

// Little-endian numbers out of bytes.
std::uint16_t read16(const std::uint8_t* bytes);
std::uint32_t read32(const std::uint8_t* bytes);

// The text of a field: up to the first NUL, at most `room` bytes. Devices pad their texts with
// blanks; not all of them are UTF-8, nor printable.
std::string fieldText(const char* field, std::size_t room);

template <std::size_t Room>
std::string fieldText(const char (&field)[Room]) {
    return fieldText(field, Room);
}

// RFC 3339 in UTC, "2026-09-21T14:13:20Z"; empty if the year has more than four digits.
std::optional<std::string> timeText(std::time_t time);

enum class Padding { Trim, Keep };

// The text without the blanks around it, or as it is. Empty if nothing is left.
std::optional<std::string> deviceText(const std::string& text, Padding padding);

// A member of a record, if there is the record.
template <class Value, class Record, class Field>
std::optional<Value> valueOf(const std::optional<Record>& record, Field Record::*field) {
    return record ? std::optional<Value>(static_cast<Value>((*record).*field)) : std::nullopt;
}

// Whether a disk or a volume is there.
enum class Presence {
    Present,
    Absent,  // the controller says that there is none
    Unknown  // it did not answer
};

std::optional<bool> presentOrUnknown(Presence presence);

}  // namespace veskctl
