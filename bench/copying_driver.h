// The storage driver at its fastest: it defines the three functions of libvmkmgmt in the program,
// knows one adapter, and answers each command by a copy out of its pages.
#pragma once

#include "controller/adapter_data.h"
#include "disks/pd_info_data.h"
#include "disks/smart_log_entry.h"
#include "disks/vd_info_data.h"
#include "transport/nvme_uio.h"

namespace bench {

constexpr const char* kAdapterName = "vmhba2";

template <typename Record>
union Page {
    Record record;
    char bytes[4096];
};

struct DriverPages {
    Page<_AdapaterData> adapter;
    Page<_PDInfoData> disk;
    Page<_vdInfoData> volume;
    Page<_SMART_HEALTH_INFORMATION_LOG_ENTRY> health;
    char events[0x11000];  // the log area, and what a carry read finds behind it
};
extern DriverPages pages;  // filled with two disks and two virtual disks; no events

constexpr unsigned long kDriverHandle = 0x5A01;

// Sends a command by hand. False if it failed.
bool send(nvme_uio& uio);

// A read of 4096 bytes by the vendor's opcode 0xE2.
nvme_uio readCommand(UNSIGNED_INTEGER subCommand, UNSIGNED_INTEGER target, void* buffer);

// Puts this many records into the log area, evenly over its pages, numbered from `first` on.
void fillLogArea(int records, int first = 1000);

}  // namespace bench
