// What a simulated host leaves behind when it is killed at any system call, and what the next one
// makes of it.
#include "killed_run.h"
#include "private_host.h"

#include "sim/host/host_folder.h"
#include "sim/host/host_state.h"
#include "sim/host/simulated_host.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <regex>
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

constexpr const char* kState = "/controller_state.json";

// The state as it is kept, but for the time at which it was.
std::string withoutTime(const std::string& state) {
    return std::regex_replace(state, std::regex("\"saved_at\": [0-9]+"), "\"saved_at\": 0");
}

// Saves that this disk is being located, and nothing else.
void saveLocating(unsigned disk, const std::string& root) {
    vesksim::SimulatedHost& host = vesksim::SimulatedHost::instance();
    host.load(vesksim::Scenario());
    host.setClock([] { return 0.0; });
    vesksim::ControllerStates states = host.controllerStates();
    states.begin()->second.locatingDisks = {disk};
    host.restoreControllers(states, 0);
    vesksim::saveState(root);
}

TEST_F(KilledSimHost, StateIsTheOldOneOrTheNewOne) {
    newHost();
    saveLocating(1, root());
    const std::string newState = textOf(kState);
    saveLocating(0, root());
    const std::string oldState = textOf(kState);
    ASSERT_NE(withoutTime(oldState), withoutTime(newState));
    std::size_t asOld = 0;
    std::size_t asNew = 0;
    const std::size_t kills =
        killAtEachCall([&] { m_files->write(kState, oldState); }, [&] { saveLocating(1, root()); },
                       [&] {
                           const std::string found = textOf(kState);
                           const bool isNew = withoutTime(found) == withoutTime(newState);
                           EXPECT_TRUE(found == oldState || isNew) << found;
                           ++(isNew ? asNew : asOld);
                           EXPECT_NO_THROW(vesksim::loadState(root()));
                       });
    EXPECT_GT(kills, 10U);
    EXPECT_GT(asOld, 5U);
    EXPECT_GT(asNew, 0U);
    // Each killed process leaves what it had begun, and no more.
    std::size_t begun = 0;
    for (const auto& entry : std::filesystem::directory_iterator(root())) {
        const std::string name = entry.path().filename();
        begun += std::regex_match(name, std::regex("controller_state\\.json\\.[0-9]+\\.new"));
    }
    EXPECT_GT(begun, 0U);
    EXPECT_LT(begun, kills);
}

}  // namespace
