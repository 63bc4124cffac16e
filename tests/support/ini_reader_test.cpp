// How a property is found in an INI file.
#include "support/ini_files.h"
#include "traced_host.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace {

using vesktest::kConfigIniPath;
using vesktest::PrivateHost;

// The value of `key` in section S of a file with this text, or "none".
std::string value(const std::string& text, const std::string& key) {
    const PrivateHost host;
    host.writeConfigIni(text);
    return VeskNVMeLibrary_Helper::readPropertyFromFile(kConfigIniPath, "S", key, "none");
}

}  // namespace

TEST(IniReader, MissingFileGivesTheDefault) {
    const PrivateHost host;
    EXPECT_EQ(VeskNVMeLibrary_Helper::readPropertyFromFile(kConfigIniPath, "S", "Key", "none"),
              "none");
    EXPECT_EQ(VeskNVMeLibrary_Helper::readPropertyFromFile(kConfigIniPath, "S", "Key", ""), "");
    EXPECT_FALSE(host.exists(kConfigIniPath));
}

TEST(IniReader, FolderInPlaceOfTheFileGivesTheDefault) {
    const PrivateHost host;
    EXPECT_EQ(VeskNVMeLibrary_Helper::readPropertyFromFile("/scratch/log", "S", "Key", "none"),
              "none");
}

TEST(IniReader, MissingSectionGivesTheDefault) {
    EXPECT_EQ(value("", "Key"), "none");
    EXPECT_EQ(value("Key=outside\n[T]\nKey=other\n", "Key"), "none");
}

TEST(IniReader, MissingKeyGivesTheDefault) {
    EXPECT_EQ(value("[S]\n", "Key"), "none");
    EXPECT_EQ(value("[S]\nOther=1\n", "Key"), "none");
}

TEST(IniReader, ValueIsTheRestOfTheLine) {
    EXPECT_EQ(value("[S]\nKey=the value\n", "Key"), "the value");
    EXPECT_EQ(value("[S]\nOther=1\nKey=2\nThird=3\n", "Key"), "2");
    EXPECT_EQ(value("[S]\nKey=a=b\n", "Key"), "a=b");
    EXPECT_EQ(value("[S]\nKey=without a line end", "Key"), "without a line end");
}

TEST(IniReader, ValueKeepsItsBlanks) {
    EXPECT_EQ(value("[S]\nKey= 1 \t\n", "Key"), " 1 \t");
}

TEST(IniReader, ValueMayBeEmpty) {
    EXPECT_EQ(value("[S]\nKey=\n", "Key"), "");
    EXPECT_EQ(value("[S]\nKey=\r\n", "Key"), "");
}

TEST(IniReader, ValueLosesOneCarriageReturn) {
    EXPECT_EQ(value("[S]\nKey=1\r\n", "Key"), "1");
    EXPECT_EQ(value("[S]\nKey=1\r", "Key"), "1");
    EXPECT_EQ(value("[S]\nKey=1\r\r\n", "Key"), "1\r");
    EXPECT_EQ(value("[S]\nKey=1\r2\r\n", "Key"), "1\r2");
}

TEST(IniReader, SectionLineMayEndWithACarriageReturn) {
    EXPECT_EQ(value("[S]\r\nKey=1\r\n", "Key"), "1");
    EXPECT_EQ(value("[S]\r\r\nKey=1\r\n", "Key"), "none");
}

TEST(IniReader, SectionLineHoldsNothingElse) {
    EXPECT_EQ(value("[S] \nKey=1\n", "Key"), "none");
    EXPECT_EQ(value(" [S]\nKey=1\n", "Key"), "none");
    EXPECT_EQ(value("[S];\nKey=1\n", "Key"), "none");
    EXPECT_EQ(value("[ S]\nKey=1\n", "Key"), "none");
    EXPECT_EQ(value("[s]\nKey=1\n", "Key"), "none");
    EXPECT_EQ(value("[SS]\nKey=1\n", "Key"), "none");
    EXPECT_EQ(value("S\nKey=1\n", "Key"), "none");
}

TEST(IniReader, OtherSectionsInFrontArePassedOver) {
    EXPECT_EQ(value("text\n[T]\nKey=1\n[U]\nKey=2\n[S]\nKey=3\n", "Key"), "3");
}

TEST(IniReader, SearchEndsAtTheNextOpeningBracket) {
    EXPECT_EQ(value("[S]\nOther=1\n[T]\nKey=2\n", "Key"), "none");
    EXPECT_EQ(value("[S]\n[\nKey=2\n", "Key"), "none");
    EXPECT_EQ(value("[S]\n[no section at all\nKey=2\n", "Key"), "none");
    EXPECT_EQ(value("[S]\n[S]\nKey=2\n", "Key"), "none");
    EXPECT_EQ(value("[S]\n [T]\nKey=2\n", "Key"), "2") << "only in the first column";
}

TEST(IniReader, SecondSectionOfTheSameNameIsNotSearched) {
    EXPECT_EQ(value("[S]\nOther=1\n[T]\n[S]\nKey=2\n", "Key"), "none");
}

TEST(IniReader, CommentCountsInTheFirstColumnOnly) {
    EXPECT_EQ(value(";[S]\nKey=1\n", "Key"), "none");
    EXPECT_EQ(value("; a comment\n[S]\n;Key=1\nKey=2\n", "Key"), "2");
    EXPECT_EQ(value("[S]\n;Key=1\n", ";Key"), "none");
    EXPECT_EQ(value("[S]\nKey=1 ;no comment\n", "Key"), "1 ;no comment");
    EXPECT_EQ(value("[S]\n ;Key=1\n", " ;Key"), "1");
}

TEST(IniReader, NumberSignHasNoMeaning) {
    EXPECT_EQ(value("[S]\n#Key=1\n", "#Key"), "1");
    EXPECT_EQ(value("[S]\n#Key=1\nKey=2\n", "Key"), "2");
}

TEST(IniReader, KeyStartsInTheFirstColumn) {
    EXPECT_EQ(value("[S]\n Key=1\n", "Key"), "none");
    EXPECT_EQ(value("[S]\nMyKey=1\n", "Key"), "none");
    EXPECT_EQ(value("[S]\nkey=1\n", "Key"), "none");
    EXPECT_EQ(value("[S]\nKe\nKey=1\n", "Key"), "1") << "a line shorter than the key";
}

TEST(IniReader, CharacterBehindTheKeyIsSkippedUnseen) {
    EXPECT_EQ(value("[S]\nKey:1\n", "Key"), "1");
    EXPECT_EQ(value("[S]\nKeyX1\n", "Key"), "1");
    EXPECT_EQ(value("[S]\nKey 1\n", "Key"), "1");
}

TEST(IniReader, BlankBeforeTheSeparatorMakesItPartOfTheValue) {
    EXPECT_EQ(value("[S]\nKey =1\n", "Key"), "=1");
}

TEST(IniReader, OnlyTheFirstLineOfAKeyCounts) {
    EXPECT_EQ(value("[S]\nKey=1\nKey=2\n", "Key"), "1");
}

TEST(IniReader, KeyMatchesTheBeginningOfALongerKey) {
    EXPECT_EQ(value("[S]\n10=500\n1=100\n", "1"), "=500");
    EXPECT_EQ(value("[S]\n100=500\n1=100\n", "1"), "0=500");
    EXPECT_EQ(value("[S]\n1=100\n10=500\n", "1"), "100");
    EXPECT_EQ(value("[S]\n1=100\n10=500\n", "10"), "500");
}

TEST(IniReader, LineWithTheKeyAloneThrows) {
    EXPECT_THROW(value("[S]\nKey\n", "Key"), std::out_of_range);
    EXPECT_THROW(value("[S]\nKey", "Key"), std::out_of_range);
    EXPECT_EQ(value("[S]\nKey\r\n", "Key"), "") << "the carriage return stands for the separator";
}

TEST(IniReader, FileIsReadAnewEachTime) {
    const PrivateHost host;
    host.writeConfigIni("[S]\nKey=1\n");
    EXPECT_EQ(VeskNVMeLibrary_Helper::readPropertyFromFile(kConfigIniPath, "S", "Key", ""), "1");
    host.writeConfigIni("[S]\nKey=2\n");
    EXPECT_EQ(VeskNVMeLibrary_Helper::readPropertyFromFile(kConfigIniPath, "S", "Key", ""), "2");
}

TEST(IniReader, FileIsLeftAsItWas) {
    const PrivateHost host;
    host.writeConfigIni("[S]\r\nKey=1");
    VeskNVMeLibrary_Helper::readPropertyFromFile(kConfigIniPath, "S", "Key", "");
    EXPECT_EQ(host.read(kConfigIniPath), "[S]\r\nKey=1");
}

TEST(IniReader, LookupIsTraced) {
    const vesktest::TracedHost logging;
    VeskNVMeLibrary_Helper::readPropertyFromFile(kConfigIniPath, "S", "Key", "");
    EXPECT_EQ(logging.lines(),
              (vesktest::LogLines{"VeskNVMeLibrary_Helper::readPropertyFromFile() ENTRY ",
                                  "VeskNVMeLibrary_Helper::readPropertyFromFile() EXIT "}));
}
