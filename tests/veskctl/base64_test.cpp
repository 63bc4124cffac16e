#include "veskctl/base64.h"

#include <gtest/gtest.h>

namespace {

using veskctl::fromBase64;
using veskctl::toBase64;

// From RFC 4648, section 10.
TEST(Base64, GivesThePublishedTexts) {
    const std::pair<const char*, const char*> rows[] = {{"", ""},
                                                        {"f", "Zg=="},
                                                        {"fo", "Zm8="},
                                                        {"foo", "Zm9v"},
                                                        {"foob", "Zm9vYg=="},
                                                        {"fooba", "Zm9vYmE="},
                                                        {"foobar", "Zm9vYmFy"}};
    for (const auto& [bytes, text] : rows) {
        EXPECT_EQ(toBase64(bytes), text);
        EXPECT_EQ(fromBase64(text), bytes);
    }
}

TEST(Base64, TakesEveryByte) {
    std::string bytes;
    for (unsigned byte = 0; byte < 256; ++byte) {
        bytes += static_cast<char>(byte);
    }
    EXPECT_EQ(fromBase64(toBase64(bytes)), bytes);
    EXPECT_EQ(toBase64(std::string("\xFB\xEF\xBE\xFF", 4)), "++++/w==");
}

TEST(Base64, RefusesOtherTexts) {
    for (const char* text : {"Z", "Zg", "Zg=", "Zg===", "Zh==", "Zm9", "Zm9=", "Zm 9v", "Zm9v\n",
                             "=", "====", "Zg==Zg==", "Zm-v", "Zm\xFFv"}) {
        EXPECT_EQ(fromBase64(text), std::nullopt) << text;
    }
}

}  // namespace
