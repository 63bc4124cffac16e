// INI files that hold anything at all.
#include "support/ini_files.h"
#include "traced_host.h"

#include <gtest/gtest.h>

#include <random>
#include <stdexcept>
#include <string>

namespace {

using vesktest::TracedHost;
using Helper = VeskNVMeLibrary_Helper;

// Random bytes in which the parts that the reader looks for are frequent.
std::string randomFile(std::mt19937& random) {
    static const std::string kParts[] = {
        "[Polling]",  "[EventSequenceNumber]",
        "[Adapter]",  "pollingIntervalInSeconds",
        "\n",         "SequenceNumber",
        "=",          ";",
        "\r\n",       "1",
        "[",          "]",
        "2147483648", std::string("\0", 1),
        " ",          "-",
    };
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

TEST(HostileIni, RandomFilesAreReadOrRefusedWithTheOneException) {
    TracedHost logging;
    stg::lout.stopDebug();
    Helper::m_LibPath = vesktest::kFirstIniFolder;
    std::mt19937 random(20251106);
    int read = 0;
    for (int i = 0; i < 2000; ++i) {
        const std::string text = randomFile(random);
        logging.files().writeConfigIni(text);
        logging.files().writeMappingIni(text);
        try {
            Helper::readPollingIntervalFromINIFile();
            Helper::readEventSeqNumberFromINIFile();
            Helper::readEventCodeFromINIFile("Adapter", 1);
            ++read;
        } catch (const std::out_of_range&) {
            // A key with nothing behind it.
        }
        const USHORT_INT result = Helper::writeLastProcessedEventSeqNumberToINIFile(i);
        EXPECT_EQ(result, 0) << i;
    }
    EXPECT_GT(read, 1000);
}

TEST(HostileIni, NulBytesAreOrdinaryCharacters) {
    TracedHost logging;
    const std::string text("[S]\nA\0=1\nKey=a\0b\n", 18);
    logging.files().writeConfigIni(text);
    EXPECT_EQ(Helper::readPropertyFromFile(vesktest::kConfigIniPath, "S", "Key", "none"),
              std::string("a\0b", 3));
    EXPECT_EQ(
        Helper::readPropertyFromFile(vesktest::kConfigIniPath, "S", std::string("A\0", 2), "none"),
        "1");
}

TEST(HostileIni, VeryLongLinesAreReadWhole) {
    TracedHost logging;
    const std::string line(5000000, 'x');
    logging.files().writeConfigIni(line + "\n[S]\n" + line + "\nKey=" + line + "\n");
    EXPECT_TRUE(Helper::readPropertyFromFile(vesktest::kConfigIniPath, "S", "Key", "none") == line);
}

TEST(HostileIni, NumberOfAMillionDigitsIsAConversionError) {
    TracedHost logging;
    Helper::m_LibPath = vesktest::kFirstIniFolder;
    const std::string digits(1000000, '9');
    logging.files().writeConfigIni("[Polling]\npollingIntervalInSeconds=" + digits + "\n");
    logging.files().writeMappingIni("[Adapter]\n1=" + digits +
                                    "\n[EventSequenceNumber]\nSequenceNumber=" + digits + "\n");
    EXPECT_EQ(Helper::readPollingIntervalFromINIFile(), 50);
    EXPECT_EQ(Helper::readEventCodeFromINIFile("Adapter", 1), 0);
    EXPECT_EQ(Helper::readEventSeqNumberFromINIFile(), 0);
}
