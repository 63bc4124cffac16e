// The firmware version that outlives its record: one call writes it while another reads it.
#include "VeskNvme.h"
#include "controller/adapter_data.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <thread>
#include <vector>

namespace {

TEST(FirmwareVersion, LiesWhereTheMachineReadsItWhole) {
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(&CController::firwareVer) % 8, 0U);
}

// The thread sanitizer sees two halves even where the machine happens to move the whole at once.
TEST(FirmwareVersion, IsReadWholeWhileAnotherCallWritesIt) {
    std::atomic<bool> stop{false};
    std::thread writer([&stop] {
        std::vector<std::uint8_t> page(4096);
        auto* const reply = reinterpret_cast<_AdapaterData*>(page.data());
        CController controller;
        for (USHORT_INT number = 0; !stop; ++number) {
            reply->firmwareVersion = _PackageVersion{number, number, number, number};
            controller.setAttributes(reply);
        }
    });
    const auto read = [] {
        Adapter_OEM_Data data{};
        ZT_Adapter_Get_OEM_Data(0, &data);
        return data.firmwareVersion;
    };
    while (read().majorVersion == 0) {  // the writer may begin late
        std::this_thread::yield();
    }
    int torn = 0;
    for (int call = 0; call < 20000; ++call) {
        const _PackageVersion version = read();
        const bool whole = version.majorVersion == version.minorVersion &&
                           version.minorVersion == version.revisionNumber &&
                           version.revisionNumber == version.buildNumber;
        torn += whole ? 0 : 1;
    }
    stop = true;
    writer.join();
    EXPECT_EQ(torn, 0);
}

}  // namespace
