// From the start of the library to its first answer, beside the platform's calls that it makes on
// the way: connections, the list, Identify, the address file, a thread that reads the log area
// once.
#include "bench.h"
#include "copying_driver.h"

#include "private_host.h"
#include "sim/redirect/redirect.h"
#include "transport/management_tables.h"
#include "transport/nvme_adapter_list.h"
#include "transport/vmk_mgmt.h"

#include "VeskNvme.h"

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <thread>
#include <unistd.h>

namespace {

std::string g_addressPath;

void readLogArea() {
    void* const buffer = std::calloc(1, 0x1000);
    for (UNSIGNED_INTEGER offset = 0; offset < 0x10000; offset += 0x1000) {
        nvme_uio uio = bench::readCommand(0x4FE, 0x1000, buffer);
        uio.cdw13 = offset;
        bench::send(uio);
    }
    std::free(buffer);
}

std::thread startByHand() {
    unsigned long handle = 0;
    auto* const list = static_cast<nvme_adapter_list*>(std::calloc(1, sizeof(nvme_adapter_list)));
    vmk_MgmtUserInit(&globalSignature, 0, &handle);
    vmk_MgmtUserCallbackInvokeInt(handle, 0, 16, 2, &list->count, list->adapter);
    vmk_MgmtUserDestroy(handle);
    std::free(list);
    vmk_MgmtUserInit(&globalSignature, 0, &handle);
    char identity[0x1000] = {};
    nvme_uio uio = bench::readCommand(0, 0, identity);
    uio.opcode = 6;
    bench::send(uio);
    char line[512];
    const int file = open(g_addressPath.c_str(), O_RDONLY | O_CLOEXEC);
    benchmark::DoNotOptimize(read(file, line, sizeof line));
    close(file);
    return std::thread(readLogArea);
}

template <typename Start, typename Stop>
void addSide(const std::string& side, Start start, Stop stop) {
    bench::add("start to first answer", side, [start, stop](benchmark::State& state) {
        for (auto pass : state) {
            static_cast<void>(pass);
            const auto begin = std::chrono::steady_clock::now();
            auto started = start();
            const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
            state.SetIterationTime(time.count());
            stop(started);
        }
    })->UseManualTime();
}

}  // namespace

void bench::addRows() {
    static const vesktest::PrivateHost s_host;
    s_host.write(vesktest::kPciAddressPath, "0000:3b:00.0 Mass storage controller [vmhba2]\n");
    g_addressPath = s_host.path(vesktest::kPciAddressPath);
    // Sleeps end at once, so that the polling thread can be joined.
    vesksim::setSleepHandler([](unsigned /*seconds*/) { return 0U; });
    addSide(
        "library",
        [] {
            ZNV_Library_Initialize();
            return ZT_Adapter_GetCount();
        },
        [](UCHAR_ count) {
            if (count != 1) {
                std::abort();
            }
            ZNV_Library_Finalize();
        });
    addSide("floor", startByHand, [](std::thread& thread) { thread.join(); });
}
