// The talker over a dump parser that throws. A program of its own, as its parser stands in front of
// the library's.
#include "pci_dump_file.h"
#include "traced_host.h"

#include "transport/pci_dump_parser.h"
#include "transport/vmware_device_talker.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <functional>
#include <new>
#include <stdexcept>
#include <string>

namespace {

using namespace vesktest;

// What happens where a dump is parsed.
std::function<void()>& parserHook() {
    static std::function<void()> s_hook;
    return s_hook;
}

class ThrowingParser : public ::testing::Test {
protected:
    ~ThrowingParser() override {
        talker.setHandle(nullptr);
        parserHook() = nullptr;
    }

    RESULT executeWith(const std::function<void()>& hook) {
        host.files().write(kPciConfigPath, std::string(kDumpHeader) + kDumpRows);
        parserHook() = hook;
        talker.setHandle(&adapter);
        CCommandDword command;
        command.setcdw_6_7(link.data());
        host.forgetLines();
        return talker.executeCMD(&command, 0);
    }

    using Link = std::array<std::uint8_t, 4>;

    TracedHost host;
    nvme_handle adapter{"vmhba2", 1};
    CVMWareZNVDeviceTalker talker;
    Link link{1, 2, 3, 4};
};

TEST_F(ThrowingParser, StandardExceptionFailsTheCommand) {
    EXPECT_EQ(executeWith([] { throw std::runtime_error("parser fault"); }), 1);
    EXPECT_EQ(link, (Link{1, 2, 3, 4}));
    EXPECT_EQ(
        host.messages(),
        (LogLines{
            "CVMWareZNVDeviceTalker::getPCIeInfo: Found Zenthra NVMe controller in pci config file",
            "CVMWareZNVDeviceTalker::readPCIeConfigSpaceRegion() : Exception Error: parser fault",
            "CVMWareZNVDeviceTalker::executeCMD: Return code: 1"}));
    EXPECT_TRUE(host.traced("CVMWareZNVDeviceTalker::readPCIeConfigSpaceRegion()"));
    EXPECT_FALSE(contains(host.lines(), "CVMWareZNVDeviceTalker::getPCIeInfo() EXIT "));
}

TEST_F(ThrowingParser, AllocationFailureFailsTheCommand) {
    EXPECT_EQ(executeWith([] { throw std::bad_alloc(); }), 1);
    EXPECT_EQ(link, (Link{1, 2, 3, 4}));
    EXPECT_TRUE(contains(host.messages(),
                         "CVMWareZNVDeviceTalker::readPCIeConfigSpaceRegion(): Memory "
                         "allocation failed: std::bad_alloc"));
}

}  // namespace

RESULT stg::parseLink(const std::vector<USHORT_INT>&, LinkValues&) {
    parserHook()();
    return 1;
}
