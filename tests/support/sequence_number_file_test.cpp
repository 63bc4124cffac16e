// The rewriting of the stored sequence number, in place.
#include "failing_calls.h"
#include "memory_faults.h"
#include "support/ini_files.h"
#include "traced_host.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <string>

namespace {

using vesktest::contains;
using vesktest::FailingCalls;
using vesktest::kMappingIniPath;
using vesktest::LogLines;
using vesktest::PrivateHost;
using Helper = VeskNVMeLibrary_Helper;

// What becomes of a file with this text; the result of the operation has to be 0.
std::string rewritten(const std::string& text, const std::string& number) {
    const PrivateHost host;
    host.writeMappingIni(text);
    EXPECT_EQ(Helper::writeSEQNumberToFile(kMappingIniPath, number), 0);
    return host.read(kMappingIniPath);
}

}  // namespace

TEST(SequenceNumberFile, NumberOfTheSameLengthKeepsTheLineFeed) {
    EXPECT_EQ(rewritten("[EventSequenceNumber]\nSequenceNumber=123\n", "456"),
              "[EventSequenceNumber]\nSequenceNumber=456\n");
}

TEST(SequenceNumberFile, NumberOneLongerTakesThePlaceOfTheLineFeed) {
    EXPECT_EQ(rewritten("[EventSequenceNumber]\nSequenceNumber=123\n", "4567"),
              "[EventSequenceNumber]\nSequenceNumber=4567");
}

TEST(SequenceNumberFile, NumberWithoutLineEndIsReplaced) {
    EXPECT_EQ(rewritten("[EventSequenceNumber]\nSequenceNumber=4567", "5678"),
              "[EventSequenceNumber]\nSequenceNumber=5678");
}

TEST(SequenceNumberFile, NumberTwoLongerMakesTheFileGrow) {
    EXPECT_EQ(rewritten("[EventSequenceNumber]\nSequenceNumber=123\n", "45678"),
              "[EventSequenceNumber]\nSequenceNumber=45678");
}

TEST(SequenceNumberFile, ShorterNumberIsPaddedWithNulInFront) {
    EXPECT_EQ(rewritten("[EventSequenceNumber]\nSequenceNumber=123\n", "45"),
              std::string("[EventSequenceNumber]\nSequenceNumber=\0\0"
                          "45",
                          41));
}

TEST(SequenceNumberFile, MuchShorterNumberIsPaddedWithNul) {
    const PrivateHost host;
    Helper::m_LibPath = vesktest::kFirstIniFolder;
    host.writeMappingIni("[EventSequenceNumber]\nSequenceNumber=1234567890\n");
    EXPECT_EQ(Helper::writeSEQNumberToFile(kMappingIniPath, "7"), 0);
    EXPECT_EQ(host.read(kMappingIniPath),
              std::string("[EventSequenceNumber]\nSequenceNumber=\0\0\0\0\0\0\0\0\0\0"
                          "7",
                          48));
    EXPECT_EQ(Helper::readEventSeqNumberFromINIFile(), 0) << "a conversion error";
}

TEST(SequenceNumberFile, NumberOneShorterWithoutLineEndLeavesAnOldDigit) {
    EXPECT_EQ(rewritten("[EventSequenceNumber]\nSequenceNumber=123", "45"),
              "[EventSequenceNumber]\nSequenceNumber=453");
}

TEST(SequenceNumberFile, CarriageReturnCountsAsPartOfTheOldNumber) {
    EXPECT_EQ(rewritten("[EventSequenceNumber]\r\nSequenceNumber=12\r\n", "345"),
              "[EventSequenceNumber]\r\nSequenceNumber=345\n");
    EXPECT_EQ(rewritten("[EventSequenceNumber]\r\nSequenceNumber=12\r\n", "34"),
              std::string("[EventSequenceNumber]\r\nSequenceNumber=\0\0"
                          "34",
                          42));
}

TEST(SequenceNumberFile, EmptyValueIsFilled) {
    EXPECT_EQ(rewritten("[EventSequenceNumber]\nSequenceNumber=\n", "5"),
              "[EventSequenceNumber]\nSequenceNumber=5");
    EXPECT_EQ(rewritten("[EventSequenceNumber]\nSequenceNumber=", "5"),
              "[EventSequenceNumber]\nSequenceNumber=5");
}

TEST(SequenceNumberFile, FileThatBeginsWithEqualsSignIsRewrittenBehindIt) {
    EXPECT_EQ(rewritten("=1", "2"), "=2");
    EXPECT_EQ(rewritten("=", "23"), "=23");
}

TEST(SequenceNumberFile, NulBytesInFrontOfTheNumberAreOverwritten) {
    EXPECT_EQ(rewritten(std::string("SequenceNumber=\0\0"
                                    "45",
                                    19),
                        "1234"),
              "SequenceNumber=1234");
}

TEST(SequenceNumberFile, RowBehindTheSequenceSectionIsOverwritten) {
    EXPECT_EQ(rewritten("[EventSequenceNumber]\nSequenceNumber=5\n[Adapter]\n1=100\n", "678"),
              "[EventSequenceNumber]\nSequenceNumber=5\n[Adapter]\n1=678\n");
}

TEST(SequenceNumberFile, RowsInFrontStayAsTheyAre) {
    EXPECT_EQ(rewritten("[Adapter]\n1=100\n;a=b\n[EventSequenceNumber]\nSequenceNumber=5\n", "6"),
              "[Adapter]\n1=100\n;a=b\n[EventSequenceNumber]\nSequenceNumber=6\n");
}

TEST(SequenceNumberFile, FileWithoutEqualsSignIsLeftAlone) {
    EXPECT_EQ(rewritten("[EventSequenceNumber]\nSequenceNumber\n", "5"),
              "[EventSequenceNumber]\nSequenceNumber\n");
    EXPECT_EQ(rewritten("x", "5"), "x");
}

TEST(SequenceNumberFile, EmptyFileIsLeftAlone) {
    EXPECT_EQ(rewritten("", "5"), "");
}

TEST(SequenceNumberFile, MissingFileFailsAndIsNotMade) {
    const vesktest::TracedHost logging;
    EXPECT_EQ(Helper::writeSEQNumberToFile(kMappingIniPath, "5"), 1);
    EXPECT_FALSE(logging.files().exists(kMappingIniPath));
    EXPECT_EQ(logging.log().linesWithoutTrace(),
              LogLines{"VeskNVMeLibrary_Helper::writePropertyToFile(): The EOF position = 0"});
}

TEST(SequenceNumberFile, FileThatCannotBeOpenedForWritingFails) {
    const vesktest::TracedHost logging;
    logging.files().writeMappingIni("SequenceNumber=123\n");
    int openings = 0;
    {
        const FailingCalls failing([&openings](const char* function, const std::string& path) {
            // The first opening, for reading, works.
            return vesktest::isOpening(function) && path == kMappingIniPath && ++openings == 2
                       ? EACCES
                       : 0;
        });
        EXPECT_EQ(Helper::writeSEQNumberToFile(kMappingIniPath, "456"), 1);
    }
    EXPECT_EQ(openings, 2);
    EXPECT_EQ(logging.files().read(kMappingIniPath), "SequenceNumber=123\n");
    EXPECT_EQ(logging.log().linesWithoutTrace(),
              (LogLines{"VeskNVMeLibrary_Helper::writeSEQNumberToFile(): File is open",
                        "VeskNVMeLibrary_Helper::writePropertyToFile(): The EOF position = 18"}));
}

TEST(SequenceNumberFile, FullDiskFails) {
    const PrivateHost host;
    host.writeMappingIni("SequenceNumber=123\n");
    const FailingCalls failing([](const char* function, const std::string& path) {
        return vesktest::isWriting(function) && path == kMappingIniPath ? ENOSPC : 0;
    });
    EXPECT_EQ(Helper::writeSEQNumberToFile(kMappingIniPath, "45678"), 1);
    EXPECT_EQ(host.read(kMappingIniPath), "SequenceNumber=123\n");
}

TEST(SequenceNumberFile, ReadThatFailsOnTheWayBackFailsAndLeavesTheNumber) {
    const vesktest::TracedHost host;
    const std::string text = "[EventSequenceNumber]\nSequenceNumber=123\n";
    host.files().writeMappingIni(text);
    {
        const FailingCalls failing([](const std::string& call, const std::string& path) {
            return call == "read" && path == kMappingIniPath ? EIO : 0;
        });
        EXPECT_EQ(Helper::writeSEQNumberToFile(kMappingIniPath, "456"), 1);
    }
    EXPECT_EQ(host.files().read(kMappingIniPath), text);
    EXPECT_FALSE(vesktest::containsPart(host.lines(), "Write SEQ Number"));
    EXPECT_FALSE(vesktest::containsPart(host.lines(), "Write complete..."));
}

TEST(SequenceNumberFile, LackOfMemoryFailsAndIsLogged) {
    if (!vesktest::kCanFailNew) {
        GTEST_SKIP() << vesktest::kWhyNewCannotFail;
    }
    const vesktest::TracedHost logging;
    logging.files().writeMappingIni("SequenceNumber=123\n");
    USHORT_INT result = 0;
    bool triggered = false;
    {
        // The buffer of a file stream.
        const vesktest::FailNew fail(vesktest::AllocationSize::atLeast(4096));
        result = Helper::writeSEQNumberToFile(kMappingIniPath, "456");
        triggered = fail.triggered();
    }
    ASSERT_TRUE(triggered);
    EXPECT_EQ(result, 1);
    EXPECT_EQ(logging.files().read(kMappingIniPath), "SequenceNumber=123\n");
    EXPECT_TRUE(contains(logging.lines(), "std::bad_alloc"));
}

TEST(SequenceNumberFile, EachStepIsLogged) {
    const vesktest::TracedHost logging;
    logging.files().writeMappingIni("[EventSequenceNumber]\nSequenceNumber=123");
    EXPECT_EQ(Helper::writeSEQNumberToFile(kMappingIniPath, "456"), 0);
    EXPECT_EQ(
        logging.lines(),
        (LogLines{"VeskNVMeLibrary_Helper::writeSEQNumberToFile() ENTRY ",
                  "VeskNVMeLibrary_Helper::writeSEQNumberToFile(): File is open",
                  "VeskNVMeLibrary_Helper::writePropertyToFile(): The EOF position = 39",
                  "VeskNVMeLibrary_Helper::  CHARs = 3", "VeskNVMeLibrary_Helper::  CHARs = 2",
                  "VeskNVMeLibrary_Helper::  CHARs = 1",
                  "VeskNVMeLibrary_Helper::writePropertyToFile(): The previous SEQ number was of "
                  "length = ",
                  "VeskNVMeLibrary_Helper::writePropertyToFile() : Write SEQ Number pos = 36",
                  "VeskNVMeLibrary_Helper::writePropertyToFile() : Write SEQ Number = 456",
                  "VeskNVMeLibrary_Helper::writePropertyToFile() : Write complete...",
                  "VeskNVMeLibrary_Helper::writeSEQNumberToFile() EXIT "}));
}

TEST(SequenceNumberFile, LinesAreTheSameWithALineEnd) {
    const vesktest::TracedHost logging;
    logging.files().writeMappingIni("SequenceNumber=12\n");
    EXPECT_EQ(Helper::writeSEQNumberToFile(kMappingIniPath, "34"), 0);
    EXPECT_TRUE(vesktest::inOrder(
        logging.lines(),
        {"VeskNVMeLibrary_Helper::writePropertyToFile(): The EOF position = 17",
         "VeskNVMeLibrary_Helper::  CHARs = ", "VeskNVMeLibrary_Helper::  CHARs = 2",
         "VeskNVMeLibrary_Helper::  CHARs = 1",
         "VeskNVMeLibrary_Helper::writePropertyToFile(): The previous SEQ number was of length = ",
         "VeskNVMeLibrary_Helper::writePropertyToFile() : Write SEQ Number pos = 14",
         "VeskNVMeLibrary_Helper::writePropertyToFile() : Write SEQ Number = 34"}));
}

TEST(SequenceNumberFile, LastProcessedNumberIsWrittenInDecimalIntoTheMappingFile) {
    const PrivateHost host;
    Helper::m_LibPath = vesktest::kFirstIniFolder;
    host.writeMappingIni("[EventSequenceNumber]\nSequenceNumber=0");
    EXPECT_EQ(Helper::writeLastProcessedEventSeqNumberToINIFile(-2147483647 - 1), 0);
    EXPECT_EQ(host.read(kMappingIniPath), "[EventSequenceNumber]\nSequenceNumber=-2147483648");
    EXPECT_EQ(Helper::writeLastProcessedEventSeqNumberToINIFile(2147483647), 0);
    EXPECT_EQ(host.read(kMappingIniPath), "[EventSequenceNumber]\nSequenceNumber=21474836478");
}

TEST(SequenceNumberFile, LastProcessedNumberWithoutAFileFails) {
    const PrivateHost host;
    Helper::m_LibPath = vesktest::kFirstIniFolder;
    EXPECT_EQ(Helper::writeLastProcessedEventSeqNumberToINIFile(5), 1);
}

TEST(SequenceNumberFile, GrowingNumberReadsBackEachTime) {
    const PrivateHost host;
    Helper::m_LibPath = vesktest::kFirstIniFolder;
    host.writeMappingIni("[Adapter]\n1=100\n[EventSequenceNumber]\nSequenceNumber=99\n");
    for (const INTEGER number : {100, 101, 999, 1000, 99999, 100000, 2147483647}) {
        EXPECT_EQ(Helper::writeLastProcessedEventSeqNumberToINIFile(number), 0);
        EXPECT_EQ(Helper::readEventSeqNumberFromINIFile(), number);
    }
    EXPECT_EQ(Helper::readEventCodeFromINIFile("Adapter", 1), 100);
}

TEST(SequenceNumberFile, IsRewrittenInPlace) {
    const PrivateHost host;
    host.writeMappingIni("SequenceNumber=1\n");
    std::filesystem::create_hard_link(host.path(kMappingIniPath), host.path("/scratch/same"));
    EXPECT_EQ(Helper::writeSEQNumberToFile(kMappingIniPath, "2"), 0);
    EXPECT_EQ(host.read("/scratch/same"), "SequenceNumber=2\n");
}
