// What vesk-pciconfig writes is what the library understands: address and link of the adapter, from
// each form of listing.
#include "VeskNvme.h"
#include "sim_host.h"
#include "transport/i_device_talker.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ostream>
#include <string>

namespace {

using vesktest::SimHost;

bool haveBusybox() {
    return std::system("command -v busybox >/dev/null") == 0;
}

// Exit code of vesk-pciconfig on a listing, with the host's shell; writes into the private host.
int makeTextFiles(SimHost& host, const std::string& arguments) {
    const std::string folder = host.files().path("/opt/orvo/pciconfig");
    return std::system(("cd " VESK_LISTINGS " && busybox sh " VESK_PCICONFIG " --to '" + folder +
                        "' " + arguments + " >/dev/null")
                           .c_str());
}

struct ListingCase {
    const char* name;
    const char* arguments;
    const char* adapter;
    int bus;
    int device;
    int function;
    int speed;
    int maxSpeed;
    int width;
    int maxWidth;
};

void PrintTo(const ListingCase& listing, std::ostream* out) {
    *out << listing.arguments;
}

class PciTextFiles : public ::testing::TestWithParam<ListingCase> {};

TEST_P(PciTextFiles, TellTheLibraryAddressAndLink) {
    if (!haveBusybox()) {
        GTEST_SKIP() << "busybox is missing; scripts/install-packages installs it";
    }
    const ListingCase& expected = GetParam();
    vesksim::Scenario scenario;
    scenario.adapters[0].name = expected.adapter;
    // None of the host's own: what the library knows comes out of the listing.
    scenario.pciAddressFile.text = "";
    scenario.pciConfigFile.text = "";
    SimHost host(scenario);
    ASSERT_EQ(makeTextFiles(host, expected.arguments), 0);
    ASSERT_EQ(host.start(), 1);

    UCHAR_ count = 0;
    CController record;
    ASSERT_EQ(ZT_Adapter_GetInfo(0, &count, &record), ERR_NONE);
    // The record's own address is the controller's word; the talker's comes out of the file.
    const BDF address = stg::liveDeviceTalker()->getBDF();
    EXPECT_EQ(address.bus, expected.bus);
    EXPECT_EQ(address.device, expected.device);
    EXPECT_EQ(address.function, expected.function);
    EXPECT_EQ(record.getLinkSpeed(), expected.speed);
    EXPECT_EQ(record.getMaxSpeed(), expected.maxSpeed);
    EXPECT_EQ(record.getLinkWidth(), expected.width);
    EXPECT_EQ(record.getMaxLinkWidth(), expected.maxWidth);
}

INSTANTIATE_TEST_SUITE_P(
    Listings, PciTextFiles,
    ::testing::Values(ListingCase{"Pciutils", "--from pciutils_xxx.txt --adapter vmhba2=3b:00.0",
                                  "vmhba2", 0x3b, 0, 0, 3, 5, 4, 8},
                      ListingCase{"PciutilsWithAllBytes",
                                  "--from pciutils_domain_xxxx.txt --adapter vmhba2=0000:3b:00.0",
                                  "vmhba2", 0x3b, 0, 0, 3, 5, 4, 8},
                      ListingCase{"Host", "--from host_e.txt --names host_plain.txt", "vmhba2",
                                  0x3b, 0, 0, 3, 5, 4, 8},
                      ListingCase{"NameThatBeginsAnotherOne", "--from odd_domains.txt", "vmhba1",
                                  0x3b, 0, 1, 3, 5, 4, 8},
                      ListingCase{"NameThatBeginsWithAnotherOne", "--from odd_domains.txt",
                                  "vmhba12", 1, 0, 0, 1, 3, 2, 4}),
    [](const ::testing::TestParamInfo<ListingCase>& test) { return test.param.name; });

}  // namespace
