// What the capture library adds to an exchange: straight to a driver, recorded, and (with
// VESK_CAPTURE_MASK in the environment) recorded with masks. The file is in /dev/shm, so that the
// disk is not measured, or where VESK_CAPTURE_BENCH_FILE says. Of what recording takes, take
// "direct" away.
#include "transport/management_tables.h"
#include "transport/nvme_uio.h"
#include "transport/vmk_mgmt.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr off_t kRestartAt = 64 << 20U;
constexpr off_t kHeader = 32;
constexpr std::size_t kLookEach = 4096;

std::string file = "/dev/shm/vesk-capture-bench";

using Invoke = decltype(&vmk_MgmtUserCallbackInvokeInt);
using Init = decltype(&vmk_MgmtUserInit);

// One kind of command, and how much it fetches: all of the bytes count, none is zero. The exchanges
// of "veskctl dump" on a healthy host have 933 bytes each without zeros at the end, on average.
struct Reply {
    const char* name;
    UNSIGNED_INTEGER cdw12;
    UNSIGNED_INTEGER size;
};
constexpr Reply kReplies[] = {{"512 bytes", 0xE0, 512},
                              {"933 bytes", 0xE0, 933},
                              {"4096 bytes", 0xE0, 4096},
                              {"a page of events", 0x4FE, 4096}};

struct Side {
    const char* name;
    void* library;
};

[[noreturn]] void fail(const std::string& text) {
    std::fprintf(stderr, "capture_bench: %s\n", text.c_str());
    std::exit(1);
}

void* load(const char* path) {
    void* const library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    return library != nullptr ? library : (fail(dlerror()), nullptr);
}

off_t sizeOfFile() {
    struct stat status = {};
    return stat(file.c_str(), &status) == 0 ? status.st_size : 0;
}

void exchange(benchmark::State& state, const Side& side, const Reply& reply) {
    const auto init = reinterpret_cast<Init>(dlsym(side.library, "vmk_MgmtUserInit"));
    const auto invoke =
        reinterpret_cast<Invoke>(dlsym(side.library, "vmk_MgmtUserCallbackInvokeInt"));
    const ManagementCallback table[2] = {
        {1, 0, nullptr, 1, 2, 0, {4, 208, 0, 0}, {0, 1, 0, 0}, 0, 16},
        {1, 0, nullptr, 1, 2, 0, {4, sizeof(nvme_uio), 0, 0}, {0, 2, 0, 0}, 0, 17}};
    ManagementSignature signature = {};
    signature.version = kManagementVersion;
    std::strcpy(signature.name, "bench");
    std::strcpy(signature.vendor, "VMware");
    signature.numCallbacks = 2;
    signature.callbacks = table;
    unsigned long handle = 0;
    init(&signature, 0, &handle);
    static char buffer[4096];
    nvme_uio uio = {};
    uio.opcode = 0xE2;
    uio.cdw10 = 0x400;
    uio.cdw12 = reply.cdw12;
    uio.cdw13 = 4096;  // of the log: not its first page, at which serial numbers are asked for
    uio.direction = 1;
    uio.dataAddress = buffer;
    uio.dataLength = reply.size;
    const bool records = std::strcmp(side.name, "direct") != 0;
    UNSIGNED_INTEGER code = 1;
    const off_t before = sizeOfFile();
    if (invoke(handle, 0, 17, 2, &code, &uio) != 0 ||
        (sizeOfFile() > before + static_cast<off_t>(reply.size) / 2) != records) {
        fail(std::string(side.name) + ": an exchange fails, or is not recorded as it should be");
    }
    std::size_t count = 0;
    for (auto pass : state) {
        static_cast<void>(pass);
        benchmark::DoNotOptimize(invoke(handle, 0, 17, 2, &code, &uio));
        if (records && ++count % kLookEach == 0) {
            state.PauseTiming();
            if (sizeOfFile() > kRestartAt && truncate(file.c_str(), kHeader) != 0) {
                fail("the file cannot be cut");
            }
            state.ResumeTiming();
        }
    }
}

}  // namespace

// The key is looked at once, so recording with masks is a process of its own.
int main(int argc, char** argv) {
    if (const char* const named = std::getenv("VESK_CAPTURE_BENCH_FILE")) {
        file = named;
    }
    std::remove(file.c_str());
    setenv("VESK_CAPTURE", file.c_str(), 1);
    const Side sides[] = {{"direct", load(VESK_PLATFORM)},
                          {std::getenv("VESK_CAPTURE_MASK") != nullptr ? "masked" : "recorded",
                           load(VESK_CAPTURE_LIBRARY)}};
    for (const Reply& reply : kReplies) {
        for (const Side& side : sides) {
            benchmark::RegisterBenchmark((std::string(reply.name) + "/" + side.name).c_str(),
                                         exchange, side, reply);
        }
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    std::remove(file.c_str());
    const auto problem =
        reinterpret_cast<const char* (*)()>(dlsym(sides[1].library, "vesk_capture_problem"));
    if (problem() != nullptr) {
        fail(problem());
    }
}
