#include "capture/crc32c.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace {

// From RFC 3720, appendix B.4, and the check value of the catalogues.
TEST(Crc32c, GivesThePublishedSums) {
    const std::string zeros(32, '\0');
    const std::string ones(32, '\xFF');
    std::string rising;
    for (char c = 0; c < 32; ++c) {
        rising += c;
    }
    for (const auto sum : {veskcap::crc32c, veskcap::crc32cByTable}) {
        EXPECT_EQ(sum(0, "123456789", 9), 0xE3069283U);
        EXPECT_EQ(sum(0, zeros.data(), 32), 0x8A9136AAU);
        EXPECT_EQ(sum(0, ones.data(), 32), 0x62A8AB43U);
        EXPECT_EQ(sum(0, rising.data(), 32), 0x46DD794EU);
    }
}

TEST(Crc32c, GoesOnFromPartToPartWhereverItIsSplit) {
    const std::string text = "one sum for the whole, in however many parts it comes";
    const std::uint32_t whole = veskcap::crc32cByTable(0, text.data(), text.size());
    for (std::size_t at = 0; at <= text.size(); ++at) {
        const std::uint32_t first = veskcap::crc32c(0, text.data(), at);
        EXPECT_EQ(veskcap::crc32c(first, text.data() + at, text.size() - at), whole);
    }
}

// By the instruction a long text is summed in lanes, the rest behind them in words, then bytes.
TEST(Crc32c, IsTheSameByInstructionAndByTableForEachLengthAndPlace) {
    std::string noise;
    for (std::uint32_t number = 1; noise.size() < 5000; number = number * 1664525 + 1013904223) {
        noise += static_cast<char>(number >> 24U);
    }
    for (std::size_t size = 0; size < 4900; size += 1 + size / 100) {
        const char* const data = noise.data() + size % 9;
        EXPECT_EQ(veskcap::crc32c(7, data, size), veskcap::crc32cByTable(7, data, size)) << size;
    }
}

}  // namespace
