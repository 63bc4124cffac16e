// Which talker a command goes to: the one of the pair, unless that was destroyed.
#include "recording_talker.h"

#include "transport/vmware_device_talker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <new>

namespace {

using vesktest::RecordingTalker;

class CountingTalker : public CVMWareZNVDeviceTalker {
public:
    RESULT executeCMD(CCommandDword*, ULONG_INT) override {
        ++commands;
        return 0;
    }
    int commands = 0;
};

constexpr std::size_t kRoom = std::max(sizeof(CVMWareZNVDeviceTalker), sizeof(RecordingTalker));

TEST(LiveTalker, DestroyedTalkerGetsNoCommand) {
    CountingTalker* const talker = new CountingTalker;
    IZNVDeviceTalker::OS_OSTYPEPTR_PAIR.second = talker;
    CCommandDword command;
    EXPECT_EQ(command.execute(1), 0);
    EXPECT_EQ(talker->commands, 1);
    delete talker;
    EXPECT_NE(IZNVDeviceTalker::OS_OSTYPEPTR_PAIR.second, nullptr);
    EXPECT_EQ(command.execute(1), 1);
}

TEST(LiveTalker, AnotherTalkerAtItsAddressGetsTheCommand) {
    alignas(std::max_align_t) unsigned char room[kRoom];
    auto* const first = new (room) CVMWareZNVDeviceTalker;
    IZNVDeviceTalker::OS_OSTYPEPTR_PAIR.second = first;
    first->~CVMWareZNVDeviceTalker();

    auto* const second = new (room) RecordingTalker;
    CCommandDword command;
    EXPECT_EQ(command.execute(1), 0);
    EXPECT_EQ(second->commands, std::vector<CCommandDword*>{&command});
    second->~RecordingTalker();
}

TEST(LiveTalker, TalkersOneAfterTheOtherOnTheStackGetTheirCommands) {
    for (int round = 0; round < 3; ++round) {
        CountingTalker talker;
        IZNVDeviceTalker::OS_OSTYPEPTR_PAIR.second = &talker;
        CCommandDword command;
        EXPECT_EQ(command.execute(1), 0);
        EXPECT_EQ(talker.commands, 1) << round;
    }
}

TEST(LiveTalker, CopyAtTheAddressOfADestroyedTalkerGetsTheCommand) {
    const RecordingTalker original;
    alignas(std::max_align_t) unsigned char room[kRoom];
    auto* const first = new (room) CVMWareZNVDeviceTalker;
    IZNVDeviceTalker::OS_OSTYPEPTR_PAIR.second = first;
    first->~CVMWareZNVDeviceTalker();

    auto* const copy = new (room) RecordingTalker(original);
    CCommandDword command;
    EXPECT_EQ(command.execute(1), 0);
    EXPECT_EQ(copy->commands.size(), 1U);
    copy->~RecordingTalker();
}

}  // namespace
