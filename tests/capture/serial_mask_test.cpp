#include "capture/serial_mask.h"

#include <gtest/gtest.h>

#include <cctype>
#include <string>

namespace {

using veskcap::SerialMask;

// A field of 20 with this text in it, as it is after masking.
std::string masked(SerialMask& mask, std::string text, char padding = ' ') {
    text.resize(20, padding);
    mask.learnField(text.data(), text.size());
    return text;
}

std::string maskedEvents(const SerialMask& mask, std::string text) {
    mask.maskEvents(text.data(), text.size());
    return text;
}

// The vector of the authors: key 00 to 0f, input 00 to 0e.
TEST(SipHash, GivesThePublishedValue) {
    std::string input;
    for (char c = 0; c < 15; ++c) {
        input += c;
    }
    EXPECT_EQ(veskcap::sipHash(0x0706050403020100U, 0x0f0e0d0c0b0a0908U, input.data(), 15),
              0xa129ca6149be45e5U);
}

TEST(SerialMask, KeepsLengthFormAndPadding) {
    SerialMask mask("key");
    const std::string field = masked(mask, "  VD-004a");
    ASSERT_EQ(field.size(), 20U);
    EXPECT_EQ(field.substr(0, 2), "  ");
    EXPECT_EQ(field.substr(9), std::string(11, ' '));
    EXPECT_NE(field.substr(2, 7), "VD-004a");
    EXPECT_TRUE(std::isupper(field[2]) && std::isupper(field[3]));
    EXPECT_EQ(field[4], '-');
    EXPECT_TRUE(std::isdigit(field[5]) && std::isdigit(field[6]) && std::isdigit(field[7]));
    EXPECT_TRUE(std::islower(field[8]));
}

TEST(SerialMask, IsTheSameForTheSameSerialAndKeyOnly) {
    SerialMask mask("key");
    SerialMask again("key");
    SerialMask other("another key");
    const std::string first = masked(mask, "VD00480A000170");
    EXPECT_EQ(masked(again, "VD00480A000170"), first);
    EXPECT_EQ(masked(again, "VD00480A000170", '\0').substr(0, 14), first.substr(0, 14));
    EXPECT_NE(masked(other, "VD00480A000170"), first);
    EXPECT_NE(masked(mask, "VD00480A000171").substr(0, 14), first.substr(0, 14));
    EXPECT_EQ(mask.keyCheck(), again.keyCheck());
    EXPECT_NE(mask.keyCheck(), other.keyCheck());
}

TEST(SerialMask, LeavesNoByteThatCannotBePrintedAndMasksWhatStandsBehindANul) {
    SerialMask mask("key");
    std::string text("SN\xE9\xFC", 4);
    text += std::string("\0"
                        "1234\t5678",
                        10);
    const std::string field = masked(mask, text);
    for (const std::size_t at : {0U, 1U, 2U, 3U, 5U, 6U, 9U}) {
        EXPECT_TRUE(std::isprint(static_cast<unsigned char>(field[at]))) << at;
    }
    EXPECT_EQ(field[4], '\0');
    EXPECT_EQ(field.find("1234"), std::string::npos);
}

TEST(SerialMask, NeverLeavesASerialAsItIs) {
    SerialMask mask("key");
    for (int digit = 0; digit < 10; ++digit) {
        const std::string serial = std::to_string(digit);
        EXPECT_NE(mask.maskOf(serial), serial);
    }
}

TEST(SerialMask, IsFoundWhereverASerialStands) {
    SerialMask mask("key");
    const std::string is = masked(mask, "VD00480A000170").substr(0, 14);
    std::string data = "xxVD00480A000170VD00480A000170";
    mask.maskKnown(data.data(), data.size());
    EXPECT_EQ(data, "xx" + is + is);
}

TEST(SerialMask, IsFoundAtEachPlaceAmongWhatLooksAlike) {
    for (const std::string serial :
         {"VD00480A000170", "00480A000170", "004800001700", "a480000017VV"}) {
        SerialMask mask("key");
        const std::string is = masked(mask, serial).substr(0, serial.size());
        masked(mask, "VD00480A000171");
        for (const char filling : {serial[0], '0', 'V', 'A', '\0'}) {
            for (std::size_t at = 0; at <= 40; ++at) {
                const std::string before(at, filling);
                const std::string behind(40 - at, filling);
                std::string data = before;
                data.append(serial).append(behind);
                mask.maskKnown(data.data(), data.size());
                EXPECT_EQ(data, std::string(before).append(is).append(behind))
                    << serial << ' ' << at;
            }
        }
    }
}

TEST(SerialMask, ShortSerialsCountAsWordsAndVeryShortOnesNotAtAll) {
    SerialMask mask("key");
    const std::string four = masked(mask, "A123").substr(0, 4);
    masked(mask, "7");
    std::string data = "[SEQ]7 A123 xA123 7";
    mask.maskKnown(data.data(), data.size());
    EXPECT_EQ(data, "[SEQ]7 " + four + " xA123 7");
}

TEST(SerialMask, OfAnEventThatThePageCutsIsThatPartOfTheMask) {
    SerialMask mask("key");
    const std::string serial = "VD00480A000170";
    const std::string is = masked(mask, serial).substr(0, 14);
    for (std::size_t cut = 4; cut <= 10; ++cut) {
        EXPECT_EQ(maskedEvents(mask, "[MSG]PD_Drive " + serial.substr(0, cut)),
                  "[MSG]PD_Drive " + is.substr(0, cut));
        EXPECT_EQ(maskedEvents(mask, serial.substr(cut) + " removed_INFO\n"),
                  is.substr(cut) + " removed_INFO\n");
    }
    EXPECT_EQ(maskedEvents(mask, serial.substr(2, 8)), is.substr(2, 8)) << "cut at both ends";
}

TEST(SerialMask, HidesInTextsOfEventsWhatLooksLikeASerial) {
    SerialMask mask("key");
    const std::string line = "[SEQ]12345678[TIME]1789996400[MSG]PD_Drive WX11A234 gone_INFO\n";
    const std::string result = maskedEvents(mask, line);
    EXPECT_EQ(result.substr(0, 43), line.substr(0, 43)) << "numbers of other tags stay";
    EXPECT_EQ(result.substr(43, 8), mask.maskOf("WX11A234"));
    EXPECT_EQ(result.substr(51), " gone_INFO\n");
    const std::string plain = "[MSG]PD_Drive 12 firmware 1.2.3.1004 Controller started_INFO\n";
    EXPECT_EQ(maskedEvents(mask, plain), plain);
}

// The mask of the letters and digits alone, with the punctuation where it was.
std::string spelled(const SerialMask& mask, const std::string& serial) {
    std::string plain;
    for (const char c : serial) {
        plain += std::isalnum(static_cast<unsigned char>(c)) != 0 ? std::string(1, c) : "";
    }
    const std::string is = mask.maskOf(plain);
    std::string result = serial;
    std::size_t next = 0;
    for (char& c : result) {
        c = std::isalnum(static_cast<unsigned char>(c)) != 0 ? is[next++] : c;
    }
    return result;
}

TEST(SerialMask, HidesInTextsOfEventsSerialsWithPunctuation) {
    SerialMask mask("key");
    masked(mask, "VD00480A000170");
    for (const std::string serial : {"S4EV-NX0R-5062", "WD-WCC4N7", "AB-12-9988", "00:11:22:AB:CD",
                                     "VD00-480A-000170", "S4EV_NX0R_5062", "S4EV/NX0R:5062"}) {
        const std::string is = spelled(mask, serial);
        ASSERT_NE(is, serial);
        for (const std::string end :
             {" gone_INFO\n", "_CRITICAL\n", "] gone_WARNING[SEQ]12345678\n", ""}) {
            const std::string text = "[MSG]PD_Drive [" + serial + end;
            EXPECT_EQ(maskedEvents(mask, text), "[MSG]PD_Drive [" + is + end);
        }
    }
    EXPECT_EQ(spelled(mask, "VD00-480A-000170").substr(5, 4),
              mask.maskOf("VD00480A000170").substr(4, 4));
}

TEST(SerialMask, LeavesReadableInTextsOfEventsWhatIsNoSerial) {
    SerialMask mask("key");
    for (const std::string text :
         {"[MSG]PD_Drive gone_INFO\n", "[MSG]PD_Temperature 75_CRITICAL\n",
          "[MSG]VD_RAID-10 volume_12 at 2026-11-22T10:00:00Z or 2026/11/22_INFO\n",
          "[MSG]NVMe_Link at 0000:3b:00.0 is Gen4-x4 since 10:20:30_WARNING\n",
          "[MSG]PD_Drive 12 firmware 1.2.3.1004 Controller started_INFO\n",
          "[MSG]PD_Temperature 75_CRIT", "[MSG]PD_Temperature of drive 1_"}) {
        EXPECT_EQ(maskedEvents(mask, text), text);
    }
}

TEST(SerialMask, OfAWordThatHoldsAKnownSerialTheRestIsLookedAtAlone) {
    SerialMask mask("key");
    const std::string is = masked(mask, "VD00480A000170").substr(0, 14);
    EXPECT_EQ(
        maskedEvents(mask, "[MSG]PD_serial:VD00480A000170 or VD00480A000170/S4EVNX0R5062_INFO\n"),
        "[MSG]PD_serial:" + is + " or " + is + "/" + mask.maskOf("S4EVNX0R5062") + "_INFO\n");
}

TEST(SerialMask, TakesAnySizeOfText) {
    SerialMask mask("key");
    masked(mask, "VD00480A000170");
    EXPECT_EQ(maskedEvents(mask, ""), "");
    EXPECT_EQ(maskedEvents(mask, "VD0"), "VD0");
}

}  // namespace
