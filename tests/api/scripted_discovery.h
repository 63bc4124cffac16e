// What the driver is asked while the library looks for the controller, as a script.
#pragma once

#include "scripted_driver.h"

#include <cstdint>

namespace vesktest {

constexpr std::uint64_t kListHandle = 0x55;
constexpr std::uint64_t kControllerHandle = 0x66;

// The driver lists no adapter.
inline void expectNoAdapter(ScriptedDriver& driver) {
    driver.expectOpen({0x01000000, "nvmeMgmt", "VMware", 1, nullptr}, 0, kListHandle);
    driver.expectAdapterList(kListHandle, {}, 0);
    driver.expectClose(kListHandle);
}

// The driver lists one adapter, which is the controller. Its connection stays open.
inline void expectController(ScriptedDriver& driver) {
    driver.expectOpen({0x01000000, "nvmeMgmt", "VMware", 1, nullptr}, 0, kListHandle);
    driver.expectAdapterList(kListHandle, {{"vmhba2", "nvmeMgmt-vmhba2"}}, 1);
    driver.expectClose(kListHandle);
    driver.expectOpen({0x01000000, "nvmeMgmt-vmhba2", "VMware", 2, nullptr}, 0, kControllerHandle);
    Reply identify;
    identify.bytes = {0x4B, 0x1B};
    identify.bufferSize = 4096;
    driver.expectCommand(record({{0, "06"},
                                 {40, "01 00 00 00"},
                                 {81, "01"},
                                 {88, "00 10 00 00"},
                                 {96, "80 84 1E 00 00 00 00 00"}}),
                         identify);
}

}  // namespace vesktest
