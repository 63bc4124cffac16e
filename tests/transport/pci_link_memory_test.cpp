// The local command without memory.
#include "connected_talker.h"
#include "memory_faults.h"
#include "pci_dump_file.h"
#include "traced_host.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

namespace {

using vesktest::AllocationSize;
using vesktest::FailMalloc;
using vesktest::FailNew;
using vesktest::LogLines;
using vesktest::ScriptedDriver;
using vesktest::TracedHost;

using Link = std::array<std::uint8_t, 4>;

const char* const kNoMemory = "CVMWareZNVDeviceTalker::readPCIeConfigSpaceRegion(): Memory "
                              "allocation failed: std::bad_alloc";

class PciLinkMemory : public ::testing::Test {
protected:
    PciLinkMemory() {
        if (!vesktest::kCanFailNew) {
            return;
        }
        host.files().write(vesktest::kPciConfigPath,
                           std::string(vesktest::kDumpHeader) + vesktest::kDumpRows);
        command.setcdw_6_7(link.data());
        host.forgetLines();
    }
    void SetUp() override {
        if (!vesktest::kCanFailNew) {
            GTEST_SKIP() << vesktest::kWhyNewCannotFail;
        }
    }

    TracedHost host;
    ScriptedDriver driver;
    vesktest::ConnectedTalker connected{driver};
    Link link{1, 2, 3, 4};
    CCommandDword command;
};

TEST_F(PciLinkMemory, WithoutFourBytesTheCommandFails) {
    {
        // The answer, or a dump that grows to its second entry.
        const FailMalloc mallocFault(AllocationSize::exactly(4));
        const FailNew newFault(AllocationSize::exactly(4));
        EXPECT_EQ(connected.talker().readPCIeConfigSpaceRegion(&command), 1);
        EXPECT_TRUE(mallocFault.triggered() || newFault.triggered());
    }
    EXPECT_EQ(link, (Link{1, 2, 3, 4}));
    EXPECT_EQ(host.messages().back(), kNoMemory);
    EXPECT_TRUE(host.traced("CVMWareZNVDeviceTalker::readPCIeConfigSpaceRegion()"));
}

TEST_F(PciLinkMemory, AllocationFailureWhileReadingFailsTheCommand) {
    {
        // The buffer of the file's stream.
        const FailNew fault(AllocationSize{8000, 9000});
        EXPECT_EQ(connected.talker().executeCMD(&command, 0), 1);
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(link, (Link{1, 2, 3, 4}));
    EXPECT_EQ(host.messages(),
              (LogLines{kNoMemory, "CVMWareZNVDeviceTalker::executeCMD: Return code: 1"}));
}

}  // namespace
