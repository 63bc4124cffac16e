// A host that loads the library at run time. Prints as JSON: milliseconds from dlopen to ready, and
// the library's own resident KiB after start and after many polls and deliveries.
#include "copying_driver.h"

#include "private_host.h"
#include "sleep_gate.h"

#include "VeskNvme.h"
#include "api/zt_command.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fstream>
#include <string>

namespace {

constexpr int kPolls = 100000;

// Pages of the library's file that are in memory, and all memory of no file.
long residentKib() {
    std::ifstream maps("/proc/self/smaps");
    std::string line;
    bool ours = false;
    bool others = false;  // a file that is not ours: the simulated platform's, the C library's
    long total = 0;
    while (std::getline(maps, line)) {
        if (line.find('-') < line.find(' ')) {  // the head of a mapping
            ours = line.find("libVeskNvme.so") != std::string::npos;
            others = !ours && line.find('/') != std::string::npos;
        } else if (line.compare(0, 4, "Rss:") == 0 && ours) {
            total += std::strtol(line.c_str() + 4, nullptr, 10);
        } else if (line.compare(0, 10, "Anonymous:") == 0 && !ours && !others) {
            total += std::strtol(line.c_str() + 10, nullptr, 10);
        }
    }
    return total;
}

template <typename Function>
Function* find(void* library, const char* name) {
    void* const symbol = dlsym(library, name);
    if (symbol == nullptr) {
        std::fprintf(stderr, "host_figures: %s\n", dlerror());
        std::exit(1);
    }
    return reinterpret_cast<Function*>(symbol);
}

}  // namespace

int main() {
    const vesktest::PrivateHost host;
    host.writeConfigIni("[Logging]\nDebug=Off\n[Polling]\npollingIntervalInSeconds=50\n");
    // Rows for all codes of the log area, so that the first delivery moves the mark.
    std::string mapping = "[PhysicalDevice]\n";
    for (int code = 2101; code <= 2116; ++code) {
        mapping += std::to_string(code) + "=1\n";
    }
    host.writeMappingIni(mapping + "[EventSequenceNumber]\nSequenceNumber=0\n");
    bench::fillLogArea(64);
    vesktest::SleepGate gate;
    const long before = residentKib();

    const auto begin = std::chrono::steady_clock::now();
    void* const library = dlopen(VESK_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        std::fprintf(stderr, "host_figures: %s\n", dlerror());
        return 1;
    }
    find<UCHAR_()>(library, "ZT_API_Initialize")();
    if (find<UCHAR_()>(library, "ZT_Adapter_GetCount")() != 1) {
        std::fprintf(stderr, "host_figures: the library found no controller\n");
        return 1;
    }
    const std::chrono::duration<double, std::milli> ready =
        std::chrono::steady_clock::now() - begin;
    gate.waitForSleeper(1);
    const long started = residentKib() - before;

    auto* const navigator =
        find<RESULT(ZTCommand)>(library, "_ZN14CommandHandler9navigatorE9ZTCommand");
    auto* const getEvent =
        find<UCHAR_(UCHAR_, UCHAR_, UCHAR_*, CEvent*)>(library, "ZT_EVT_GetEvent");
    ZTCommand poll = {};
    poll.commandId = VeskNVMe_GetEvent;
    alignas(8) static unsigned char events[64 * 64];
    UCHAR_ count = 0;
    const auto run = [&](int polls) {
        for (int i = 0; i < polls; ++i) {
            navigator(poll);
            getEvent(0, 0, &count, reinterpret_cast<CEvent*>(events));
        }
    };
    run(100);
    const long early = residentKib() - before;
    run(kPolls);
    const long late = residentKib() - before;
    std::printf("{\"ready_ms\": %.3f, \"started_kib\": %ld, \"early_kib\": %ld, "
                "\"late_kib\": %ld}\n",
                ready.count(), started, early, late);
    gate.releaseAll();
    find<VOID_()>(library, "ZNV_Library_Finalize")();
    return 0;
}
