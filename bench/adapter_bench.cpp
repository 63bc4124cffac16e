// The controller's information, with a PCI dump of 40 devices of which ours is the last; the number
// of controllers; the firmware version.
#include "bench.h"
#include "connected_library.h"
#include "copying_driver.h"

#include "pci_dump_file.h"
#include "private_host.h"
#include "sim/redirect/call_policy.h"

#include "VeskNvme.h"

#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <unistd.h>

namespace {

CController g_controller;
std::string dumpOfDevices(int count) {
    std::string text;
    for (int device = 1; device < count; ++device) {
        text += "0000:" + std::to_string(10 + device) + ":00.0 Ethernet controller [vmnic" +
                std::to_string(device) + "]\n";
        text += vesktest::kDumpRows;
    }
    return text + vesktest::kDumpHeader + vesktest::kDumpRows;
}

int digit(char character) {
    return character <= '9' ? character - '0' : (character | 0x20) - 'a' + 10;
}

UCHAR_ byteAt(const char* dump, int index) {
    const char* const text = dump + index * 3;  // 16 to a line, with its line feed 48 characters
    return static_cast<UCHAR_>(digit(text[0]) << 4 | digit(text[1]));
}

// Link status and capabilities out of the dump behind the line that holds the name.
void readLink(CController& controller) {
    char text[64 * 1024];
    // The library's own call goes through the redirection, too.
    char room[vesksim::kPathRoom];
    const int file =
        open(vesksim::redirected(vesktest::kPciConfigPath, room), O_RDONLY | O_CLOEXEC);
    const ssize_t size = read(file, text, sizeof text);
    close(file);
    const std::string_view all(text, static_cast<std::size_t>(size));
    const std::size_t name = all.find(bench::kAdapterName);
    if (name == std::string_view::npos) {
        std::abort();
    }
    const char* const dump = text + all.find('\n', name) + 1;
    int capability = byteAt(dump, 0x34);
    for (int hops = 0; byteAt(dump, capability) != 0x10 && hops < 6; ++hops) {
        capability = byteAt(dump, capability + 1);
    }
    const UCHAR_ status = byteAt(dump, capability + 0x12);
    const UCHAR_ limits = byteAt(dump, capability + 0x0C);
    controller.setLinkSpeed(status & 0x0F);
    controller.setLinkWidth(status >> 4);
    controller.setMaxSpeed(limits & 0x0F);
    controller.setMaxLinkWidth(limits >> 4);
}

void floorOfInfo() {
    void* const buffer = std::calloc(1, 0x1000);
    nvme_uio uio = bench::readCommand(0xE0, 0xD, buffer);
    bench::send(uio);
    const auto& adapter = *static_cast<const _AdapaterData*>(buffer);
    std::memset(static_cast<void*>(&g_controller), 0, sizeof g_controller);
    auto* const bytes = reinterpret_cast<char*>(&g_controller);
    std::memcpy(bytes + CCONTROLLER_VENDOR_ID, &adapter.vendorId, 8);
    g_controller.setFirmwareVersion(adapter.firmwareVersion);
    g_controller.setPortCount(adapter.portCount);
    g_controller.setMaxBufSize(adapter.maxBufSize);
    g_controller.setVDCount(adapter.vdCount);
    g_controller.setPDCount(adapter.pdCount);
    readLink(g_controller);
    std::free(buffer);
}

using Count = UCHAR_();

}  // namespace

void bench::addRows() {
    static const vesktest::PrivateHost s_host;
    s_host.write(vesktest::kPciConfigPath, dumpOfDevices(40));
    connectLibrary();

    addLoop("Adapter_GetInfo", "library", [] {
        UCHAR_ count = 0;
        ZT_Adapter_GetInfo(0, &count, &g_controller);
        benchmark::DoNotOptimize(g_controller);
    });
    addLoop("Adapter_GetInfo", "floor", [] {
        floorOfInfo();
        benchmark::DoNotOptimize(g_controller);
    });

    addLoop("Adapter_GetCount", "library", [] { benchmark::DoNotOptimize(ZT_Adapter_GetCount()); });
    addLoop("Adapter_GetCount", "floor", [] {
        static Count* s_empty = [] {
            return static_cast<UCHAR_>(1);
        };
        benchmark::DoNotOptimize(s_empty);
        benchmark::DoNotOptimize(s_empty());
    });
}
