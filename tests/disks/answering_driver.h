// The storage driver as a controller that answers any command, in any order: defines the three
// functions of libvmkmgmt in the test program. Takes no memory while it answers. For one thread.
#pragma once

#include "disk_records.h"

#include <cstddef>

namespace vesktest {

// What the controller knows. A command that is longer than its page gets zeros behind it.
struct ControllerPages {
    Bytes disks[2];    // by the low bit of the id
    Bytes volumes[2];  // likewise
    Bytes health;
};

// Two disks and two virtual disks, all present.
ControllerPages presentPages();

// The library's talker, connected to a controller of these pages for as long as this lives.
class AnsweringDriver {
public:
    explicit AnsweringDriver(const ControllerPages& pages);
    ~AnsweringDriver();
    AnsweringDriver(const AnsweringDriver&) = delete;
    AnsweringDriver& operator=(const AnsweringDriver&) = delete;

    std::size_t commandCount() const { return m_commandCount; }

    // For the functions of the driver: the 120 bytes of a command.
    int answer(const std::uint8_t* record);

private:
    const Bytes& pageFor(const std::uint8_t* record) const;

    const ControllerPages& m_pages;
    std::size_t m_commandCount = 0;
};

}  // namespace vesktest
