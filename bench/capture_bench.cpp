// What the capture library adds to an exchange: a pass-through of 4 KiB and one of 512 bytes,
// straight to a library in the platform's place, recorded, and recorded with masks. The file is in
// /dev/shm, so that the disk is not measured. Of the sides that record, take the first away.
#include "transport/management_tables.h"
#include "transport/nvme_uio.h"
#include "transport/vmk_mgmt.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <dlfcn.h>
#include <unistd.h>

namespace {

constexpr const char* kFile = "/dev/shm/vesk-capture-bench";
constexpr std::size_t kRestartAt = 64U << 20U;

using Invoke = decltype(&vmk_MgmtUserCallbackInvokeInt);
using Init = decltype(&vmk_MgmtUserInit);

struct Library {
    Init init;
    Invoke invoke;
};

Library load(const char* path) {
    void* const library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        std::fprintf(stderr, "capture_bench: %s\n", dlerror());
        std::exit(1);
    }
    return {reinterpret_cast<Init>(dlsym(library, "vmk_MgmtUserInit")),
            reinterpret_cast<Invoke>(dlsym(library, "vmk_MgmtUserCallbackInvokeInt"))};
}

// What a driver leaves: bytes without zeros at their end, which would not be stored.
char page[4096];

void exchange(benchmark::State& state, const char* path) {
    const Library library = load(path);
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
    library.init(&signature, 0, &handle);
    nvme_uio uio = {};
    uio.opcode = 0xE2;
    uio.cdw10 = 0x400;
    uio.cdw12 = 0xE1;
    uio.direction = 1;
    uio.dataAddress = page;
    uio.dataLength = static_cast<UNSIGNED_INTEGER>(state.range(0));
    std::size_t written = 0;
    for (auto pass : state) {
        static_cast<void>(pass);
        UNSIGNED_INTEGER code = 1;
        benchmark::DoNotOptimize(library.invoke(handle, 0, 17, 2, &code, &uio));
        written += 600 + static_cast<std::size_t>(state.range(0));
        if (written > kRestartAt) {
            written = 0;
            state.PauseTiming();
            static_cast<void>(!truncate(kFile, 32));
            state.ResumeTiming();
        }
    }
}

}  // namespace

// The sides that record are processes of their own, as a host has it: VESK_CAPTURE_MASK chooses.
int main(int argc, char** argv) {
    for (std::size_t i = 0; i < sizeof(page); ++i) {
        page[i] = static_cast<char>(1 + i % 251);
    }
    const bool masked = std::getenv("VESK_CAPTURE_MASK") != nullptr;
    std::remove(kFile);
    setenv("VESK_CAPTURE", kFile, 1);
    benchmark::RegisterBenchmark("exchange/direct", exchange, VESK_PLATFORM)->Arg(4096)->Arg(512);
    benchmark::RegisterBenchmark(masked ? "exchange/masked" : "exchange/recorded", exchange,
                                 VESK_CAPTURE_LIBRARY)
        ->Arg(4096)
        ->Arg(512);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    std::remove(kFile);
}
