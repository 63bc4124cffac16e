// What a simulated host leaves behind when it is killed at any system call, and what the next one
// makes of it.
#include "killed_run.h"
#include "private_host.h"

#include "sim/host/host_folder.h"
#include "sim/host/host_state.h"
#include "sim/host/simulated_host.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

using vesktest::killAtEachCall;
using vesktest::PrivateHost;

class KilledSimHost : public testing::Test {
protected:
    void newHost() {
        m_files.reset();
        m_files = std::make_unique<PrivateHost>();
    }
    std::string root() const { return m_files->path("/"); }
    // The file's text, or "absent".
    std::string textOf(const std::string& path) const {
        return m_files->exists(path) ? m_files->read(path) : "absent";
    }

    std::unique_ptr<PrivateHost> m_files;
};

TEST_F(KilledSimHost, HostFilesAreWholeOrAbsentAndTheNextHostHasThem) {
    const vesksim::Scenario scenario;
    const struct {
        const char* path;
        std::string text;
    } files[] = {{vesktest::kConfigIniPath, vesksim::configIniText()},
                 {vesktest::kMappingIniPath, vesksim::alertMappingIniText()},
                 {vesktest::kPciAddressPath, vesksim::pciAddressText(scenario)},
                 {vesktest::kPciConfigPath, vesksim::pciConfigText(scenario)}};
    const std::size_t kills = killAtEachCall(
        [this] { newHost(); }, [&] { vesksim::writeHostFiles(root(), scenario); },
        [&] {
            for (const auto& file : files) {
                const std::string found = textOf(file.path);
                EXPECT_TRUE(found == "absent" || found == file.text) << file.path << ":\n" << found;
            }
            vesksim::writeHostFiles(root(), scenario);
            for (const auto& file : files) {
                EXPECT_EQ(textOf(file.path), file.text);
            }
        });
    EXPECT_GT(kills, 20U);
}

TEST_F(KilledSimHost, StateIsTheOldOneOrTheNewOne) {
    constexpr const char* kState = "/controller_state.json";
    vesksim::SimulatedHost& host = vesksim::SimulatedHost::instance();
    newHost();
    host.load(vesksim::Scenario());
    const std::size_t kills =
        killAtEachCall([] {},
                       [&] {
                           vesksim::loadState(root());
                           vesksim::saveState(root());
                       },
                       [&] {
                           const std::string found = textOf(kState);
                           EXPECT_TRUE(found == "absent" || found.back() == '\n') << found;
                           EXPECT_NO_THROW(vesksim::loadState(root()));
                       });
    EXPECT_GT(kills, 10U);
}

}  // namespace
