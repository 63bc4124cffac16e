// libvmkmgmt.so for capture_bench: a driver at its fastest, which answers each command by a copy
// out of a page. One controller with two disks, each with a serial number.
#include "transport/nvme_uio.h"
#include "transport/vmk_mgmt.h"

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace {

constexpr std::size_t kPage = 4096;
constexpr std::size_t kPageHeader = 40;

struct Pages {
    char identify[kPage] = {};
    char disk[2][kPage] = {};
    char events[kPage] = {};
    char noise[kPage] = {};

    Pages() {
        std::memcpy(identify, "\x4B\x1B", 2);
        std::memcpy(identify + 4, "VC48A0009912        ", 20);
        std::memcpy(disk[0] + 60, "VD00480A000170      ", 20);
        std::memcpy(disk[1] + 60, "VD00480A000171      ", 20);
        // Nothing in it is zero: zeros at the end would not be stored.
        std::uint32_t number = 1;
        for (char& byte : noise) {
            number = number * 1664525 + 1013904223;
            byte = static_cast<char>(1 + (number >> 24U) % 255);
        }
        std::size_t at = kPageHeader;
        for (unsigned sequence = 1; kPage - at > 100; ++sequence) {
            at += static_cast<std::size_t>(std::snprintf(
                events + at, kPage - at,
                "[SEQ]%u[TIME]1789996400[CODE]101[ID]0[MSG]PD_Drive VD00480A000170 online_INFO\n",
                sequence));
        }
    }
};

const Pages pages;

const char* pageOf(const nvme_uio& command) {
    switch (command.cdw12) {
    case 0xE1:
        return pages.disk[command.cdw14 & 1U];
    case 0x4FE:
        return pages.events;
    default:
        return command.opcode == 6 ? pages.identify : pages.noise;
    }
}

}  // namespace

int vmk_MgmtUserInit(const void*, unsigned long, unsigned long* handle) {
    *handle = 1;
    return 0;
}

int vmk_MgmtUserCallbackInvokeInt(unsigned long, unsigned long, unsigned long,
                                  unsigned int parameterCount, ...) {
    std::va_list list;
    va_start(list, parameterCount);
    va_arg(list, void*);
    auto* const command = va_arg(list, nvme_uio*);
    va_end(list);
    std::memcpy(command->dataAddress, pageOf(*command), command->dataLength);
    command->completionStatus = 1;
    return 0;
}

int vmk_MgmtUserDestroy(unsigned long) {
    return 0;
}
