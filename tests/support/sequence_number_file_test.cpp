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

using namespace std::string_literals;
using vesktest::FailingCalls;
using vesktest::kMappingIniPath;
using vesktest::LogLines;
using vesktest::PrivateHost;
using vesktest::TracedHost;
using Helper = VeskNVMeLibrary_Helper;

// What becomes of a file with this text; the result of the operation has to be 0.
std::string rewritten(const std::string& text, const std::string& number) {
    const PrivateHost host;
    host.writeMappingIni(text);
    EXPECT_EQ(Helper::writeSEQNumberToFile(kMappingIniPath, number), 0);
    return host.read(kMappingIniPath);
}

struct Rewriting {
    const char* why;
    std::string before;
    const char* number;
    std::string after;
};

}  // namespace

TEST(SequenceNumberFile, NumberIsReplacedBehindTheLastEqualsSign) {
    const Rewriting rows[] = {
        {"the same length keeps the line feed", "[S]\nN=123\n", "456", "[S]\nN=456\n"},
        {"one longer takes the place of the line feed", "[S]\nN=123\n", "4567", "[S]\nN=4567"},
        {"two longer makes the file grow", "[S]\nN=123\n", "45678", "[S]\nN=45678"},
        {"no line end", "[S]\nN=4567", "5678", "[S]\nN=5678"},
        {"shorter is padded in front", "[S]\nN=123\n", "45",
         "[S]\nN=\0\0"
         "45"s},
        {"one shorter without a line end leaves an old digit", "[S]\nN=123", "45", "[S]\nN=453"},
        {"a carriage return is part of the old number", "N=12\r\n", "345", "N=345\n"},
        {"which makes the same length shorter", "N=12\r\n", "34",
         "N=\0\0"
         "34"s},
        {"an empty value is filled", "[S]\nN=\n", "5", "[S]\nN=5"},
        {"also at the end of the file", "[S]\nN=", "5", "[S]\nN=5"},
        {"the sign is the first byte", "=1", "2", "=2"},
        {"the sign is the only byte", "=", "23", "=23"},
        {"NUL bytes in front of the number are overwritten",
         "N=\0\0"
         "45"s,
         "1234", "N=1234"},
        {"rows in front stay", "[A]\n1=100\n;a=b\n[S]\nN=5\n", "6", "[A]\n1=100\n;a=b\n[S]\nN=6\n"},
    };
    for (const Rewriting& row : rows) {
        EXPECT_EQ(rewritten(row.before, row.number), row.after) << row.why;
    }
}

TEST(SequenceNumberFile, MuchShorterNumberIsPaddedWithNul) {
    const PrivateHost host;
    Helper::m_LibPath = vesktest::kFirstIniFolder;
    host.writeMappingIni("[EventSequenceNumber]\nSequenceNumber=1234567890\n");
    EXPECT_EQ(Helper::writeSEQNumberToFile(kMappingIniPath, "7"), 0);
    EXPECT_EQ(host.read(kMappingIniPath),
              "[EventSequenceNumber]\nSequenceNumber=\0\0\0\0\0\0\0\0\0\0"
              "7"s);
    EXPECT_EQ(Helper::readEventSeqNumberFromINIFile(), 0) << "a conversion error";
}

TEST(SequenceNumberFile, RowBehindTheSequenceSectionIsOverwritten) {
    EXPECT_EQ(rewritten("[EventSequenceNumber]\nSequenceNumber=5\n[Adapter]\n1=100\n", "678"),
              "[EventSequenceNumber]\nSequenceNumber=5\n[Adapter]\n1=678\n");
}

TEST(SequenceNumberFile, FileWithoutEqualsSignIsLeftAlone) {
    EXPECT_EQ(rewritten("[EventSequenceNumber]\nSequenceNumber\n", "5"),
              "[EventSequenceNumber]\nSequenceNumber\n");
    EXPECT_EQ(rewritten("x", "5"), "x");
}

TEST(SequenceNumberFile, EmptyFileIsLeftAlone) {
    EXPECT_EQ(rewritten("", "5"), "");
}

TEST(SequenceNumberFile, IsRewrittenInPlace) {
    const PrivateHost host;
    host.writeMappingIni("SequenceNumber=1\n");
    std::filesystem::create_hard_link(host.path(kMappingIniPath), host.path("/scratch/same"));
    EXPECT_EQ(Helper::writeSEQNumberToFile(kMappingIniPath, "2"), 0);
    EXPECT_EQ(host.read("/scratch/same"), "SequenceNumber=2\n");
}

TEST(SequenceNumberFile, EachStepIsLogged) {
    struct Steps {
        const char* text;
        const char* number;
        LogLines lines;
    };
    const Steps rows[] = {
        {"[EventSequenceNumber]\nSequenceNumber=123",
         "456",
         {"VeskNVMeLibrary_Helper::writeSEQNumberToFile() ENTRY ",
          "VeskNVMeLibrary_Helper::writeSEQNumberToFile(): File is open",
          "VeskNVMeLibrary_Helper::writePropertyToFile(): The EOF position = 39",
          "VeskNVMeLibrary_Helper::  CHARs = 3", "VeskNVMeLibrary_Helper::  CHARs = 2",
          "VeskNVMeLibrary_Helper::  CHARs = 1",
          "VeskNVMeLibrary_Helper::writePropertyToFile(): The previous SEQ number was of length = ",
          "VeskNVMeLibrary_Helper::writePropertyToFile() : Write SEQ Number pos = 36",
          "VeskNVMeLibrary_Helper::writePropertyToFile() : Write SEQ Number = 456",
          "VeskNVMeLibrary_Helper::writePropertyToFile() : Write complete...",
          "VeskNVMeLibrary_Helper::writeSEQNumberToFile() EXIT "}},
        // The line end of the file is one of the characters, and ends its own line of the log.
        {"SequenceNumber=12\n",
         "34",
         {"VeskNVMeLibrary_Helper::writeSEQNumberToFile() ENTRY ",
          "VeskNVMeLibrary_Helper::writeSEQNumberToFile(): File is open",
          "VeskNVMeLibrary_Helper::writePropertyToFile(): The EOF position = 17",
          "VeskNVMeLibrary_Helper::  CHARs = ", "", "VeskNVMeLibrary_Helper::  CHARs = 2",
          "VeskNVMeLibrary_Helper::  CHARs = 1",
          "VeskNVMeLibrary_Helper::writePropertyToFile(): The previous SEQ number was of length = ",
          "VeskNVMeLibrary_Helper::writePropertyToFile() : Write SEQ Number pos = 14",
          "VeskNVMeLibrary_Helper::writePropertyToFile() : Write SEQ Number = 34",
          "VeskNVMeLibrary_Helper::writePropertyToFile() : Write complete...",
          "VeskNVMeLibrary_Helper::writeSEQNumberToFile() EXIT "}},
    };
    for (const Steps& row : rows) {
        const TracedHost logging;
        logging.files().writeMappingIni(row.text);
        EXPECT_EQ(Helper::writeSEQNumberToFile(kMappingIniPath, row.number), 0);
        EXPECT_EQ(logging.lines(), row.lines);
    }
}

// ---- Failures: result 1, and the file as it was ----

TEST(SequenceNumberFile, MissingFileFailsAndIsNotMade) {
    const TracedHost logging;
    EXPECT_EQ(Helper::writeSEQNumberToFile(kMappingIniPath, "5"), 1);
    EXPECT_FALSE(logging.files().exists(kMappingIniPath));
    EXPECT_EQ(logging.messages(),
              LogLines{"VeskNVMeLibrary_Helper::writePropertyToFile(): The EOF position = 0"});
}

TEST(SequenceNumberFile, FileThatCannotBeOpenedForWritingFails) {
    const TracedHost logging;
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
    EXPECT_EQ(logging.messages(),
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
    const TracedHost logging;
    logging.files().writeMappingIni("SequenceNumber=123\n");
    {
        // The buffer of a file stream.
        const vesktest::FailNew fail(vesktest::AllocationSize::atLeast(4096));
        EXPECT_EQ(Helper::writeSEQNumberToFile(kMappingIniPath, "456"), 1);
        ASSERT_TRUE(fail.triggered());
    }
    EXPECT_EQ(logging.files().read(kMappingIniPath), "SequenceNumber=123\n");
    EXPECT_EQ(logging.messages(), LogLines{"std::bad_alloc"});
}

// ---- The last processed number ----

TEST(SequenceNumberFile, LastProcessedNumberIsWrittenInDecimalIntoTheMappingFile) {
    const PrivateHost host;
    Helper::m_LibPath = vesktest::kFirstIniFolder;
    EXPECT_EQ(Helper::writeLastProcessedEventSeqNumberToINIFile(5), 1) << "no file";
    host.writeMappingIni("[EventSequenceNumber]\nSequenceNumber=0");
    EXPECT_EQ(Helper::writeLastProcessedEventSeqNumberToINIFile(-2147483647 - 1), 0);
    EXPECT_EQ(host.read(kMappingIniPath), "[EventSequenceNumber]\nSequenceNumber=-2147483648");
    EXPECT_EQ(Helper::writeLastProcessedEventSeqNumberToINIFile(2147483647), 0);
    EXPECT_EQ(host.read(kMappingIniPath), "[EventSequenceNumber]\nSequenceNumber=21474836478");
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
