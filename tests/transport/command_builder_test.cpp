// What all command builders have in common, shown on a builder of the test's own.
#include "recording_talker.h"
#include "virtual_slot.h"

#include "transport/i_command_builder.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace {

using vesktest::RecordingTalker;
using vesktest::virtualSlot;

class PlainBuilder : public ICommandBuilder {
public:
    RESULT buildCommand() override { return 0; }
    VOID_ execute() override {
        ICommandBuilder::execute();
        m_command.execute(getdwIOCTLcode());
    }

    CCommandDword m_command;
};

TEST(CommandBuilder, RequestCodeIsZeroAfterConstruction) {
    PlainBuilder builder;
    EXPECT_EQ(builder.getdwIOCTLcode(), 0U);
}

TEST(CommandBuilder, RequestCodeHas64Bits) {
    PlainBuilder builder;
    builder.setdwIOCTLcode(0xFEDCBA9876543210);
    EXPECT_EQ(builder.getdwIOCTLcode(), 0xFEDCBA9876543210);
}

TEST(CommandBuilder, BaseExecuteSetsCodeOneAndSendsNothing) {
    RecordingTalker talker;
    PlainBuilder builder;
    builder.setdwIOCTLcode(77);
    builder.ICommandBuilder::execute();
    EXPECT_EQ(builder.getdwIOCTLcode(), 1U);
    EXPECT_TRUE(talker.codes.empty());
}

TEST(CommandBuilder, WhateverTheCodeWasADeviceCommandGoesOutWithOne) {
    RecordingTalker talker;
    PlainBuilder builder;
    builder.setdwIOCTLcode(0);
    builder.execute();
    builder.setdwIOCTLcode(77);
    builder.execute();
    EXPECT_EQ(talker.codes, (std::vector<ULONG_INT>{1, 1}));
}

TEST(CommandBuilder, ExecuteReturnsNormallyWhenTheCommandFails) {
    RecordingTalker talker;
    talker.result = 1;
    PlainBuilder builder;
    builder.execute();
    EXPECT_EQ(talker.commands, std::vector<CCommandDword*>{&builder.m_command});
}

TEST(CommandBuilder, BaseHandsOutNoRecord) {
    PlainBuilder builder;
    EXPECT_EQ(builder.getCCommandDwordObject(), nullptr);
}

TEST(CommandBuilder, OperationsKeepTheirPlaces) {
    EXPECT_TRUE(std::has_virtual_destructor_v<ICommandBuilder>);
    EXPECT_EQ(virtualSlot(&ICommandBuilder::buildCommand), 2);
    EXPECT_EQ(virtualSlot(&ICommandBuilder::execute), 3);
    EXPECT_EQ(virtualSlot(&ICommandBuilder::getCCommandDwordObject), 4);
    EXPECT_EQ(sizeof(ICommandBuilder), 16U);
}

}  // namespace
