// What veskctl-sim leaves in its state folder when it is killed, and what the next run makes of it.
#include "killed_run.h"
#include "private_host.h"

#include "sim/host/host_folder.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <unistd.h>

namespace {

using vesktest::PrivateHost;

// Turns the process into veskctl-sim, with its output thrown away.
void becomeTool(const std::string& state) {
    if (std::freopen("/dev/null", "w", stdout) == nullptr ||
        std::freopen("/dev/null", "w", stderr) == nullptr) {
        throw std::runtime_error("/dev/null cannot be opened");
    }
    execl(VESKCTL_SIM, VESKCTL_SIM, "--state", state.c_str(), "locate", "on", "1", nullptr);
    throw std::runtime_error("veskctl-sim cannot be run");
}

TEST(KilledTool, NextRunFindsWholeFiles) {
    std::unique_ptr<PrivateHost> files;
    const std::size_t kills = vesktest::killAtEachCall(
        [&] {
            files.reset();
            files = std::make_unique<PrivateHost>();
        },
        [&] { becomeTool(files->path("/")); },
        [&] {
            // Throws unless it ends with exit code 0.
            EXPECT_NO_THROW(vesktest::runAlone([&] { becomeTool(files->path("/")); }));
            EXPECT_EQ(files->read(vesktest::kMappingIniPath), vesksim::alertMappingIniText());
            EXPECT_EQ(files->read(vesktest::kConfigIniPath), vesksim::configIniText());
            EXPECT_NE(
                files->read("/controller_state.json").find("\"locating_disks\": [\n        1"),
                std::string::npos);
        },
        vesktest::Calls::kThatChangeFiles);
    EXPECT_GT(kills, 20U);
}

}  // namespace
