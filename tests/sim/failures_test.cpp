// Failures of a scenario that begin later.
#include "raw_host.h"

using simtest::diskRead;
using simtest::volumeRead;

namespace {

class Failures : public simtest::RawHost {
protected:
    static bool fails(const simtest::CommandRecord& command) {
        constexpr unsigned kPhaseTag = 1;
        return (send(command).status & ~kPhaseTag) != 0;
    }

    void loadFailures(const std::string& text) {
        load(vesksim::parseScenario(
            R"({"adapters": [{"name": "vmhba2", "failures": )" + text + "}]}", "failures.json"));
    }
};

TEST_F(Failures, BeginAfterSoManyCommandsOfTheirKind) {
    loadFailures(R"({"physical_disk": {"status_code": 6, "after_commands": 2}})");
    EXPECT_FALSE(fails(diskRead(0)));
    EXPECT_FALSE(fails(volumeRead(0)));
    EXPECT_FALSE(fails(diskRead(1)));
    EXPECT_TRUE(fails(diskRead(0)));
    EXPECT_TRUE(fails(diskRead(1)));
    EXPECT_FALSE(fails(volumeRead(0)));
}

TEST_F(Failures, BeginAtATime) {
    loadFailures(R"({"physical_disk": {"status_code": 6, "after_seconds": 2.5}})");
    moveTo(2.25);
    EXPECT_FALSE(fails(diskRead(0)));
    moveTo(2.5);
    EXPECT_TRUE(fails(diskRead(0)));
}

TEST_F(Failures, BeginWhenBothAreOver) {
    loadFailures(
        R"({"physical_disk": {"status_code": 6, "after_commands": 1, "after_seconds": 2}})");
    EXPECT_FALSE(fails(diskRead(0)));
    EXPECT_FALSE(fails(diskRead(0))) << "the time is not over";
    moveTo(2);
    EXPECT_TRUE(fails(diskRead(0)));
}

}  // namespace
