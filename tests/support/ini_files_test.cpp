// The INI files: where they are looked for, how a property is found, the numbers that they hold.
#include "failing_calls.h"
#include "memory_faults.h"
#include "support/ini_files.h"
#include "traced_host.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <initializer_list>
#include <iterator>
#include <new>
#include <random>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using vesktest::FailingCalls;
using vesktest::kConfigIniPath;
using vesktest::kLogPath;
using vesktest::LogLines;
using vesktest::PrivateHost;
using vesktest::TracedHost;
using Helper = VeskNVMeLibrary_Helper;

const char* const kSecondConfigIniPath =
    "/etc/cim/orvo/kelpdesk/kelpdesk-storage/libVeskNVMeConfig.ini";
const char* const kSecondMappingIniPath =
    "/etc/cim/orvo/kelpdesk/kelpdesk-storage/libVeskNVMeAlertMapping.ini";

std::size_t openDescriptors() {
    const std::filesystem::directory_iterator folder("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(folder), end(folder)));
}

}  // namespace

// ---- The folder of the files ----

TEST(IniPath, IsTheFirstFolderWithAConfigurationOrStaysAsItWas) {
    struct Row {
        std::vector<const char*> files;
        const char* folder;
        std::vector<std::string> commands;  // that are run
    };
    const Row rows[] = {
        {{kConfigIniPath}, "/opt/orvo/kelpdesk/etc/kelpdesk-storage/", {}},
        {{kSecondConfigIniPath}, "/etc/cim/orvo/kelpdesk/kelpdesk-storage/", {}},
        {{kConfigIniPath, kSecondConfigIniPath}, "/opt/orvo/kelpdesk/etc/kelpdesk-storage/", {}},
        {{vesktest::kMappingIniPath, kSecondMappingIniPath}, "/scratch/earlier/", {"pwd"}},
        {{}, "/scratch/earlier/", {"pwd"}},
    };
    for (const Row& row : rows) {
        const PrivateHost host;
        host.makeFolder(vesktest::kSecondIniFolder);
        for (const char* const file : row.files) {
            host.write(file, "");
        }
        std::vector<std::string> commands;
        const FailingCalls watch([&commands](const char* function, const std::string& command) {
            if (std::string(function) == "popen") {
                commands.push_back(command);
            }
            return 0;
        });
        Helper::m_LibPath = "/scratch/earlier/";
        const std::size_t before = openDescriptors();
        Helper::getLinuxINIPath();
        EXPECT_EQ(Helper::m_LibPath, row.folder);
        EXPECT_EQ(commands, row.commands);
        // The stream of a command stays open, a configuration does not.
        EXPECT_EQ(openDescriptors(), before + row.commands.size());
    }
}

TEST(IniPath, FallsBackToTheWorkingFolder) {
    const PrivateHost host;
    host.write("/scratch/libVeskNVMeConfig.ini", "[Polling]\npollingIntervalInSeconds=77\n");
    host.write("/scratch/libVeskNVMeAlertMapping.ini", "[EventSequenceNumber]\nSequenceNumber=5\n");
    ASSERT_EQ(chdir(host.path("/scratch").c_str()), 0);
    Helper::getLinuxINIPath();
    EXPECT_EQ(Helper::m_LibPath, "");
    EXPECT_EQ(Helper::readPollingIntervalFromINIFile(), 77);
    EXPECT_EQ(Helper::readEventSeqNumberFromINIFile(), 5);
    EXPECT_EQ(Helper::writeLastProcessedEventSeqNumberToINIFile(6), 0);
    EXPECT_EQ(host.read("/scratch/libVeskNVMeAlertMapping.ini"),
              "[EventSequenceNumber]\nSequenceNumber=6\n");
    ASSERT_EQ(chdir("/"), 0);
}

TEST(IniPath, FileThatCannotBeOpenedIsLikeNone) {
    const PrivateHost host;
    host.writeConfigIni("");
    host.makeFolder(vesktest::kSecondIniFolder);
    host.write(kSecondConfigIniPath, "");
    const FailingCalls failing([](const char* function, const std::string& path) {
        return vesktest::isOpening(function) && path == kConfigIniPath ? EACCES : 0;
    });
    Helper::getLinuxINIPath();
    EXPECT_EQ(Helper::m_LibPath, "/etc/cim/orvo/kelpdesk/kelpdesk-storage/");
}

TEST(IniPath, StaysAsItWasIfTheCommandCannotBeRun) {
    const TracedHost logging;
    Helper::m_LibPath = "/scratch/earlier/";
    const FailingCalls failing([](const char* function, const std::string&) {
        return std::string(function) == "popen" ? ENOMEM : 0;
    });
    Helper::getLinuxINIPath();
    EXPECT_EQ(Helper::m_LibPath, "/scratch/earlier/");
    EXPECT_TRUE(logging.traced("VeskNVMeLibrary_Helper::getLinuxINIPath()"));
}

// ---- A property ----

namespace {

// The value of `key` in section S of a file with this text, or "none".
std::string value(const std::string& text, const std::string& key) {
    const PrivateHost host;
    host.writeConfigIni(text);
    return Helper::readPropertyFromFile(kConfigIniPath, "S", key, "none");
}

// What `key` of section S reads as; "none" is the default.
struct Property {
    const char* text;
    const char* key;
    const char* value;
};

void expectValues(std::initializer_list<Property> rows) {
    for (const Property& row : rows) {
        EXPECT_EQ(value(row.text, row.key), row.value)
            << ::testing::PrintToString(row.text) << ", key " << row.key;
    }
}

}  // namespace

TEST(IniReader, MissingFileSectionOrKeyGivesTheDefault) {
    const PrivateHost host;
    EXPECT_EQ(Helper::readPropertyFromFile(kConfigIniPath, "S", "Key", "none"), "none");
    EXPECT_EQ(Helper::readPropertyFromFile(kConfigIniPath, "S", "Key", ""), "");
    EXPECT_THROW(Helper::readPropertyFromFile("/scratch/log", "S", "Key", "none"),
                 std::ios_base::failure)
        << "a folder opens, and cannot be read";
    EXPECT_FALSE(host.exists(kConfigIniPath));
    expectValues({{"", "Key", "none"},
                  {"Key=outside\n[T]\nKey=other\n", "Key", "none"},
                  {"[S]\n", "Key", "none"},
                  {"[S]\nOther=1\n", "Key", "none"}});
}

TEST(IniReader, ValueIsTheRestOfTheLineLessOneCarriageReturn) {
    expectValues({{"[S]\nKey=the value\n", "Key", "the value"},
                  {"[S]\nOther=1\nKey=2\nThird=3\n", "Key", "2"},
                  {"[S]\nKey=a=b\n", "Key", "a=b"},
                  {"[S]\nKey=without a line end", "Key", "without a line end"},
                  {"[S]\nKey= 1 \t\n", "Key", " 1 \t"},
                  {"[S]\nKey=\n", "Key", ""},
                  {"[S]\nKey=\r\n", "Key", ""},
                  {"[S]\nKey=1\r\n", "Key", "1"},
                  {"[S]\nKey=1\r", "Key", "1"},
                  {"[S]\nKey=1\r\r\n", "Key", "1\r"},
                  {"[S]\nKey=1\r2\r\n", "Key", "1\r2"}});
}

TEST(IniReader, SectionLineHoldsNothingElse) {
    expectValues({{"[S]\r\nKey=1\r\n", "Key", "1"},
                  {"[S]\r\r\nKey=1\r\n", "Key", "none"},
                  {"[S] \nKey=1\n", "Key", "none"},
                  {" [S]\nKey=1\n", "Key", "none"},
                  {"[S];\nKey=1\n", "Key", "none"},
                  {"[ S]\nKey=1\n", "Key", "none"},
                  {"[s]\nKey=1\n", "Key", "none"},
                  {"[SS]\nKey=1\n", "Key", "none"},
                  {"S\nKey=1\n", "Key", "none"}});
}

TEST(IniReader, SearchGoesFromTheFirstSectionOfTheNameToTheNextOpeningBracket) {
    expectValues({{"text\n[T]\nKey=1\n[U]\nKey=2\n[S]\nKey=3\n", "Key", "3"},
                  {"[S]\nOther=1\n[T]\nKey=2\n", "Key", "none"},
                  {"[S]\n[\nKey=2\n", "Key", "none"},
                  {"[S]\n[no section at all\nKey=2\n", "Key", "none"},
                  {"[S]\n[S]\nKey=2\n", "Key", "none"},
                  {"[S]\nOther=1\n[T]\n[S]\nKey=2\n", "Key", "none"},
                  {"[S]\n [T]\nKey=2\n", "Key", "2"}});  // only in the first column
}

TEST(IniReader, CommentIsASemicolonInTheFirstColumn) {
    expectValues({{";[S]\nKey=1\n", "Key", "none"},
                  {"; a comment\n[S]\n;Key=1\nKey=2\n", "Key", "2"},
                  {"[S]\n;Key=1\n", ";Key", "none"},
                  {"[S]\nKey=1 ;no comment\n", "Key", "1 ;no comment"},
                  {"[S]\n ;Key=1\n", " ;Key", "1"},
                  {"[S]\n#Key=1\n", "#Key", "1"},
                  {"[S]\n#Key=1\nKey=2\n", "Key", "2"}});
}

TEST(IniReader, KeyStartsInTheFirstColumnAndItsFirstLineCounts) {
    expectValues({{"[S]\n Key=1\n", "Key", "none"},
                  {"[S]\nMyKey=1\n", "Key", "none"},
                  {"[S]\nkey=1\n", "Key", "none"},
                  {"[S]\nKe\nKey=1\n", "Key", "1"},  // a line shorter than the key
                  {"[S]\nKey=1\nKey=2\n", "Key", "1"}});
}

TEST(IniReader, CharacterBehindTheKeyIsSkippedUnseen) {
    expectValues({{"[S]\nKey:1\n", "Key", "1"},
                  {"[S]\nKeyX1\n", "Key", "1"},
                  {"[S]\nKey 1\n", "Key", "1"},
                  {"[S]\nKey =1\n", "Key", "=1"},
                  {"[S]\nKey\r\n", "Key", ""}});
    EXPECT_THROW(value("[S]\nKey\n", "Key"), std::out_of_range);
    EXPECT_THROW(value("[S]\nKey", "Key"), std::out_of_range);
}

TEST(IniReader, KeyMatchesTheBeginningOfALongerKey) {
    expectValues({{"[S]\n10=500\n1=100\n", "1", "=500"},
                  {"[S]\n100=500\n1=100\n", "1", "0=500"},
                  {"[S]\n1=100\n10=500\n", "1", "100"},
                  {"[S]\n1=100\n10=500\n", "10", "500"}});
}

TEST(IniReader, FileIsReadAnewEachTimeAndLeftAsItWas) {
    const PrivateHost host;
    for (const char* const expected : {"1", "2"}) {
        const std::string text = std::string("[S]\r\nKey=") + expected;
        host.writeConfigIni(text);
        EXPECT_EQ(Helper::readPropertyFromFile(kConfigIniPath, "S", "Key", ""), expected);
        EXPECT_EQ(host.read(kConfigIniPath), text);
    }
}

TEST(IniReader, NulBytesAreOrdinaryCharacters) {
    const std::string text("[S]\nA\0=1\nKey=a\0b\n", 17);
    EXPECT_EQ(value(text, "Key"), std::string("a\0b", 3));
    EXPECT_EQ(value(text, std::string("A\0", 2)), "1");
}

TEST(IniReader, VeryLongLinesAreReadWhole) {
    const std::string line(5000000, 'x');
    EXPECT_TRUE(value(line + "\n[S]\n" + line + "\nKey=" + line + "\n", "Key") == line);
}

// ---- The three numbers ----

namespace {

class IniNumbers : public ::testing::Test {
protected:
    IniNumbers() { Helper::m_LibPath = vesktest::kFirstIniFolder; }

    USHORT_INT eventCode(const std::string& file, USHORT_INT code) {
        m_logging.forgetLines();
        m_logging.files().writeMappingIni(file);
        return Helper::readEventCodeFromINIFile("Adapter", code);
    }

    TracedHost m_logging;
};

using EventCode = IniNumbers;

const std::string kMillionNines(1000000, '9');

}  // namespace

TEST_F(EventCode, IsTheRowOfTheCodeInItsSection) {
    m_logging.files().writeMappingIni(
        "[Adapter]\n7=4001\n[VirtualDevice]\n7=4002\n[PhysicalDevice]\n7=4003\n"
        "[EventSequenceNumber]\nSequenceNumber=0\n");
    EXPECT_EQ(Helper::readEventCodeFromINIFile("Adapter", 7), 4001);
    EXPECT_EQ(Helper::readEventCodeFromINIFile("VirtualDevice", 7), 4002);
    EXPECT_EQ(Helper::readEventCodeFromINIFile("PhysicalDevice", 7), 4003);
    EXPECT_EQ(Helper::readEventCodeFromINIFile("PhysicalDevice", 8), 65535);
    EXPECT_EQ(Helper::readEventCodeFromINIFile("", 7), 65535);
    EXPECT_EQ(m_logging.messages(), LogLines{});
}

TEST_F(EventCode, WithoutAFileIs65535) {
    EXPECT_EQ(Helper::readEventCodeFromINIFile("Adapter", 7), 65535);
    EXPECT_FALSE(m_logging.files().exists(vesktest::kMappingIniPath));
}

TEST_F(EventCode, IsCutTo16BitsAndABadValueIsZeroAndLogged) {
    struct Row {
        std::string file;
        USHORT_INT code;
        USHORT_INT mapped;
        bool converts = true;
    };
    const Row rows[] = {
        {"[Adapter]\n65535=1\n", 65535, 1},
        {"[Adapter]\n0=2\n", 0, 2},
        {"[Adapter]\n101=3\n", 0x65, 3},
        {"[Adapter]\n8=1\n", 7, 65535},
        {"[Adapter]\n7=65535\n", 7, 65535},
        {"[Adapter]\n7=65536\n", 7, 0},
        {"[Adapter]\n7=65541\n", 7, 5},
        {"[Adapter]\n7=-1\n", 7, 65535},
        {"[Adapter]\n7=2147483647\n", 7, 65535},
        {"[Adapter]\n7= \t12 text\n", 7, 12},
        {"[Adapter]\n7=0x10\n", 7, 0},  // decimal: the x ends the number
        {"[Adapter]\n1=100\n10=500\n", 1, 100},
        {"[Adapter]\n1=100\n10=500\n", 10, 500},
        {"[Adapter]\n10=500\n1=100\n", 1, 0, false},
        {"[Adapter]\n7=2147483648\n", 7, 0, false},
        {"[Adapter]\n7=text\n", 7, 0, false},
        {"[Adapter]\n7=\n", 7, 0, false},
        {"[Adapter]\n7=" + kMillionNines + "\n", 7, 0, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.file.substr(0, 40));
        EXPECT_EQ(eventCode(row.file, row.code), row.mapped);
        EXPECT_EQ(m_logging.messages(),
                  row.converts ? LogLines{}
                               : LogLines{"VeskNVMeLibrary_Helper::readEventCodeFromINIFile: Error "
                                          "converting event code to integer: stoi"});
    }
}

TEST_F(EventCode, RowWithTheCodeAloneThrows) {
    EXPECT_THROW(eventCode("[Adapter]\n7\n", 7), std::out_of_range);
}

namespace {

// One of the numbers that stand behind a key, and its lines in the log.
struct StoredNumber {
    const char* iniPath;
    std::string section;
    std::string key;
    INTEGER (*read)();
    std::string defaultText;
    INTEGER defaultNumber;
    std::string foundLine;
    std::string numberLine;
    std::string errorLine;
};

const StoredNumber kStoredNumbers[] = {
    {vesktest::kMappingIniPath, "[EventSequenceNumber]\n", "SequenceNumber",
     Helper::readEventSeqNumberFromINIFile, "0", 0,
     " VeskNVMeLibrary_Helper::readEventSeqNumberFromINIFile: Sequence Number: ",
     " VeskNVMeLibrary_Helper::readEventSeqNumberFromINIFile: Sequence Number after stoi: ",
     "VeskNVMeLibrary_Helper::readEventSeqNumberFromINIFile: Error converting sequence number to "
     "integer: stoi"},
    {kConfigIniPath, "[Polling]\n", "pollingIntervalInSeconds",
     Helper::readPollingIntervalFromINIFile, "50", 50,
     "CVeskNVMeMonitor::polling(): Polling interval value read from config file: ",
     "CVeskNVMeMonitor::polling(): Polling interval value (in integer): ",
     "CVeskNVMeMonitor::polling(): Error converting polling interval from config file, to "
     "integer: stoi"},
};

}  // namespace

TEST_F(IniNumbers, AreReadAndLoggedAsTextAndAsNumber) {
    struct Row {
        const char* behindKey;
        const char* text;
        INTEGER number;
    };
    for (const StoredNumber& stored : kStoredNumbers) {
        for (const Row& row :
             {Row{"=41\n", "41", 41}, Row{"= 0042 tail\r\n", " 0042 tail", 42}, Row{"=0", "0", 0},
              Row{"=-1\n", "-1", -1}, Row{"=65536\n", "65536", 65536},
              Row{"=2147483647\n", "2147483647", 2147483647},
              Row{"=-2147483648\n", "-2147483648", -2147483647 - 1}}) {
            m_logging.files().write(stored.iniPath, stored.section + stored.key + row.behindKey);
            m_logging.forgetLines();
            EXPECT_EQ(stored.read(), row.number);
            EXPECT_EQ(m_logging.messages(),
                      (LogLines{stored.foundLine + row.text,
                                stored.numberLine + std::to_string(row.number)}));
        }
    }
}

TEST_F(IniNumbers, WithoutAnEntryHaveTheirDefault) {
    for (const StoredNumber& stored : kStoredNumbers) {
        for (const std::string& file : {std::string(), stored.section + "other=7\n",
                                        stored.key + "=70\n[Logging]\n" + stored.key + "=80\n"}) {
            m_logging.files().write(stored.iniPath, file);
            m_logging.forgetLines();
            EXPECT_EQ(stored.read(), stored.defaultNumber);
            EXPECT_EQ(m_logging.messages(), (LogLines{stored.foundLine + stored.defaultText,
                                                      stored.numberLine + stored.defaultText}));
        }
        std::filesystem::remove(m_logging.files().path(stored.iniPath));
        EXPECT_EQ(stored.read(), stored.defaultNumber);
        EXPECT_FALSE(m_logging.files().exists(stored.iniPath)) << "reading makes no file";
    }
}

TEST_F(IniNumbers, WithABadValueHaveTheirDefaultToo) {
    for (const StoredNumber& stored : kStoredNumbers) {
        for (const std::string& text :
             {std::string("text"), std::string(), std::string("2147483648"), kMillionNines}) {
            m_logging.files().write(stored.iniPath,
                                    stored.section + stored.key + "=" + text + "\n");
            m_logging.forgetLines();
            EXPECT_EQ(stored.read(), stored.defaultNumber);
            EXPECT_TRUE(m_logging.messages() ==
                        (LogLines{stored.foundLine + text, stored.errorLine}))
                << text.substr(0, 40);
        }
        m_logging.files().write(stored.iniPath, stored.section + stored.key + " =70\n");
        EXPECT_EQ(stored.read(), stored.defaultNumber) << "the sign belongs to the value";
        m_logging.files().write(stored.iniPath, stored.section + stored.key + "\n");
        EXPECT_THROW(stored.read(), std::out_of_range);
    }
}

TEST_F(IniNumbers, OfAFileThatCannotBeReadAreADefaultInTheConfigurationOnly) {
    for (const StoredNumber& stored : kStoredNumbers) {
        const bool configuration = std::string(stored.iniPath) == kConfigIniPath;
        // Longer than what a string holds in itself.
        m_logging.files().write(stored.iniPath, std::string(100, ';') + "\n" + stored.section +
                                                    stored.key + "=70\n");
        {
            const FailingCalls failing([](const std::string& call, const std::string& path) {
                return call == "read" && path != kLogPath ? EIO : 0;
            });
            if (configuration) {
                EXPECT_EQ(stored.read(), stored.defaultNumber);
            } else {
                EXPECT_THROW(stored.read(), std::ios_base::failure);
            }
        }
        if (vesktest::kCanFailNew) {
            const vesktest::FailNew fault(vesktest::AllocationSize::exactly(101));
            if (configuration) {
                EXPECT_EQ(stored.read(), stored.defaultNumber);
            } else {
                EXPECT_THROW(stored.read(), std::bad_alloc);
            }
            EXPECT_TRUE(fault.triggered());
        }
        EXPECT_EQ(stored.read(), 70);
    }
}

// ---- Files that hold anything at all ----

namespace {

// Random bytes in which the parts that the reader looks for are frequent.
std::string randomFile(std::mt19937& random) {
    static const std::string kParts[] = {"[Polling]",  "[EventSequenceNumber]",
                                         "[Adapter]",  "pollingIntervalInSeconds",
                                         "\n",         "SequenceNumber",
                                         "=",          ";",
                                         "\r\n",       "1",
                                         "[",          "]",
                                         "2147483648", std::string("\0", 1),
                                         " ",          "-"};
    std::string text;
    const std::size_t pieces = random() % 40;
    for (std::size_t i = 0; i < pieces; ++i) {
        if (random() % 4 == 0) {
            text += static_cast<char>(random() % 256);
        } else {
            text += kParts[random() % std::size(kParts)];
        }
    }
    return text;
}

}  // namespace

TEST(HostileIni, RandomFilesAreReadOrRefusedWithTheOneExceptionAndKeepWhatIsNotTheNumber) {
    const PrivateHost host;
    Helper::m_LibPath = vesktest::kFirstIniFolder;
    std::mt19937 random(20251106);
    int read = 0;
    int written = 0;
    for (INTEGER number = 1000; number < 2000; ++number) {
        const std::string text = randomFile(random);
        host.writeConfigIni(text);
        host.writeMappingIni(text);
        try {
            Helper::readPollingIntervalFromINIFile();
            Helper::readEventSeqNumberFromINIFile();
            Helper::readEventCodeFromINIFile("Adapter", 1);
            ++read;
        } catch (const std::out_of_range&) {
            // A key with nothing behind it.
        }
        EXPECT_EQ(host.read(kConfigIniPath), text);
        EXPECT_EQ(host.read(vesktest::kMappingIniPath), text);
        const std::size_t kept = text.rfind('=') + 1;
        if (kept != 0) {
            EXPECT_EQ(Helper::writeLastProcessedEventSeqNumberToINIFile(number), 0);
            const std::string after = host.read(vesktest::kMappingIniPath);
            EXPECT_EQ(after.substr(0, kept), text.substr(0, kept));
            EXPECT_NE(after.find(std::to_string(number), kept), std::string::npos);
            ++written;
        }
    }
    EXPECT_GT(read, 500);
    EXPECT_GT(written, 500);
}
