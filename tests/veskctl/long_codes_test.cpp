#include "veskctl/long_codes.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace veskctl {
namespace {

std::vector<unsigned> codesIn(const std::vector<std::string>& pieces) {
    LongCodes codes;
    for (const std::string& piece : pieces) {
        codes.look(piece.data(), piece.size());
    }
    std::vector<unsigned> found;
    for (const std::uint16_t code : codes.all()) {
        if (code != 0) {
            found.push_back(code);
        }
    }
    return found;
}

using Numbers = std::vector<unsigned>;

TEST(LongCodes, AreThoseOfFiveDigitsEachOnce) {
    EXPECT_EQ(codesIn({"[SEQ]1[EVT_ID]270F[TIME]5\n[SEQ]2[EVT_ID]2710[TIME]5\n"
                       "[SEQ]3[EVT_ID]D431[MSG]x\n[SEQ]4[EVT_ID]2710\n[SEQ]54321\n"}),
              (Numbers{10000, 54321}));
}

TEST(LongCodes, OfTextThatIsCutAnywhereAreFound) {
    const std::string text = "[SEQ]3[EVT_ID]D431[MSG]x";
    for (std::size_t cut = 0; cut <= text.size(); ++cut) {
        const std::string first = text.substr(0, cut) + std::string(20, '\0');
        const Numbers codes = codesIn({first, text.substr(cut)});
        ASSERT_FALSE(codes.empty()) << cut;
        EXPECT_EQ(codes.back(), 54321U) << cut;
    }
}

TEST(LongCodes, OfOddTextAreWhatTheLibraryReads) {
    EXPECT_EQ(codesIn({"[EVT_ID] +d431x[EVT_ID]0x2711[EVT_ID]", "[EVT_ID]no"}),
              (Numbers{54321, 10001}));
    EXPECT_TRUE(codesIn({"", std::string(10, '\0')}).empty());
}

TEST(LongCodes, AreNoMoreThanThereIsRoomFor) {
    std::string text;
    for (unsigned code = 0x3000; code < 0x3200; ++code) {
        char tag[32];
        std::snprintf(tag, sizeof tag, "[EVT_ID]%X", code);
        text += tag;
    }
    EXPECT_EQ(codesIn({text}).size(), 256U);
}

}  // namespace
}  // namespace veskctl
