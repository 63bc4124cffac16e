// The three numbers that the library reads from its INI files.
#include "support/ini_files.h"
#include "traced_host.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace {

using vesktest::LogLines;
using vesktest::TracedHost;
using Helper = VeskNVMeLibrary_Helper;

class IniValues : public ::testing::Test {
protected:
    IniValues() { Helper::m_LibPath = vesktest::kFirstIniFolder; }

    const vesktest::PrivateHost& host() const { return m_logging.files(); }
    LogLines lines() const { return m_logging.messages(); }
    void clearLog() { m_logging.forgetLines(); }

    USHORT_INT code(const std::string& row, USHORT_INT number) const {
        host().writeMappingIni("[Adapter]\n" + row);
        return Helper::readEventCodeFromINIFile("Adapter", number);
    }
    INTEGER sequenceNumber(const std::string& text) const {
        host().writeMappingIni("[EventSequenceNumber]\nSequenceNumber=" + text);
        return Helper::readEventSeqNumberFromINIFile();
    }
    INTEGER interval(const std::string& text) const {
        host().writeConfigIni("[Polling]\npollingIntervalInSeconds=" + text);
        return Helper::readPollingIntervalFromINIFile();
    }

private:
    TracedHost m_logging;
};

using EventCode = IniValues;
using StoredSequenceNumber = IniValues;
using PollingInterval = IniValues;

}  // namespace

TEST_F(EventCode, IsTheRowOfTheCodeInItsSection) {
    host().writeMappingIni("[Adapter]\n7=4001\n[VirtualDevice]\n7=4002\n[PhysicalDevice]\n7=4003\n"
                           "[EventSequenceNumber]\nSequenceNumber=0\n");
    EXPECT_EQ(Helper::readEventCodeFromINIFile("Adapter", 7), 4001);
    EXPECT_EQ(Helper::readEventCodeFromINIFile("VirtualDevice", 7), 4002);
    EXPECT_EQ(Helper::readEventCodeFromINIFile("PhysicalDevice", 7), 4003);
    EXPECT_EQ(lines(), LogLines{});
}

TEST_F(EventCode, IsLookedUpInDecimal) {
    EXPECT_EQ(code("65535=1\n", 65535), 1);
    EXPECT_EQ(code("0=2\n", 0), 2);
    EXPECT_EQ(code("101=3\n", 0x65), 3);
}

TEST_F(EventCode, WithoutARowIs65535) {
    EXPECT_EQ(code("8=1\n", 7), 65535);
    EXPECT_EQ(Helper::readEventCodeFromINIFile("VirtualDevice", 8), 65535);
    EXPECT_EQ(Helper::readEventCodeFromINIFile("", 8), 65535);
    EXPECT_EQ(lines(), LogLines{});
}

TEST_F(EventCode, WithoutAFileIs65535) {
    EXPECT_EQ(Helper::readEventCodeFromINIFile("Adapter", 7), 65535);
    EXPECT_FALSE(host().exists(vesktest::kMappingIniPath));
}

TEST_F(EventCode, IsCutTo16Bits) {
    EXPECT_EQ(code("7=65535\n", 7), 65535);
    EXPECT_EQ(code("7=65536\n", 7), 0);
    EXPECT_EQ(code("7=65541\n", 7), 5);
    EXPECT_EQ(code("7=-1\n", 7), 65535);
    EXPECT_EQ(lines(), LogLines{});
}

TEST_F(EventCode, LeadingBlanksAndATailConvert) {
    EXPECT_EQ(code("7= \t12 text\n", 7), 12);
    EXPECT_EQ(code("7=0x10\n", 7), 0) << "decimal: the x ends the number";
    EXPECT_EQ(lines(), LogLines{});
}

TEST_F(EventCode, ThatIsNoNumberIsZeroAndLogged) {
    EXPECT_EQ(code("7=text\n", 7), 0);
    EXPECT_EQ(lines(),
              LogLines{"VeskNVMeLibrary_Helper::readEventCodeFromINIFile: Error converting "
                       "event code to integer: stoi"});
    clearLog();
    EXPECT_EQ(code("7=\n", 7), 0);
    EXPECT_EQ(lines().size(), 1U);
}

TEST_F(EventCode, OutOfTheRangeOf32BitsIsZeroAndLogged) {
    EXPECT_EQ(code("7=2147483648\n", 7), 0);
    EXPECT_EQ(lines(),
              LogLines{"VeskNVMeLibrary_Helper::readEventCodeFromINIFile: Error converting "
                       "event code to integer: stoi"});
    EXPECT_EQ(code("7=2147483647\n", 7), 65535);
}

TEST_F(EventCode, OfAShorterKeyBehindALongerOneIsZero) {
    EXPECT_EQ(code("10=500\n1=100\n", 1), 0);
    EXPECT_EQ(lines().size(), 1U);
    EXPECT_EQ(code("1=100\n10=500\n", 1), 100);
    EXPECT_EQ(Helper::readEventCodeFromINIFile("Adapter", 10), 500);
}

TEST_F(EventCode, RowWithTheCodeAloneThrows) {
    EXPECT_THROW(code("7\n", 7), std::out_of_range);
}

TEST_F(EventCode, LookupIsTraced) {
    Helper::readEventCodeFromINIFile("Adapter", 7);
    const LogLines all = vesktest::LogFile(host()).lines();
    ASSERT_FALSE(all.empty());
    EXPECT_EQ(all.front(), "VeskNVMeLibrary_Helper::readEventCodeFromINIFile() ENTRY ");
    EXPECT_EQ(all.back(), "VeskNVMeLibrary_Helper::readEventCodeFromINIFile() EXIT ");
}

TEST_F(StoredSequenceNumber, IsReadAndLogged) {
    EXPECT_EQ(sequenceNumber("41\n"), 41);
    EXPECT_EQ(
        lines(),
        (LogLines{" VeskNVMeLibrary_Helper::readEventSeqNumberFromINIFile: Sequence Number: 41",
                  " VeskNVMeLibrary_Helper::readEventSeqNumberFromINIFile: Sequence Number after "
                  "stoi: 41"}));
}

TEST_F(StoredSequenceNumber, IsLoggedAsTextAndAsNumber) {
    EXPECT_EQ(sequenceNumber(" 0042 tail\r\n"), 42);
    EXPECT_EQ(lines(),
              (LogLines{" VeskNVMeLibrary_Helper::readEventSeqNumberFromINIFile: Sequence Number:  "
                        "0042 tail",
                        " VeskNVMeLibrary_Helper::readEventSeqNumberFromINIFile: Sequence Number "
                        "after stoi: 42"}));
}

TEST_F(StoredSequenceNumber, IsZeroWithoutAFileOrAnEntry) {
    EXPECT_EQ(Helper::readEventSeqNumberFromINIFile(), 0);
    EXPECT_EQ(
        lines(),
        (LogLines{" VeskNVMeLibrary_Helper::readEventSeqNumberFromINIFile: Sequence Number: 0",
                  " VeskNVMeLibrary_Helper::readEventSeqNumberFromINIFile: Sequence Number after "
                  "stoi: 0"}));
    host().writeMappingIni("[Adapter]\nSequenceNumber=7\n");
    EXPECT_EQ(Helper::readEventSeqNumberFromINIFile(), 0);
}

TEST_F(StoredSequenceNumber, ThatIsNoNumberIsZeroAndLogged) {
    EXPECT_EQ(sequenceNumber("text\n"), 0);
    EXPECT_EQ(
        lines(),
        (LogLines{
            " VeskNVMeLibrary_Helper::readEventSeqNumberFromINIFile: Sequence Number: text",
            "VeskNVMeLibrary_Helper::readEventSeqNumberFromINIFile: Error converting sequence "
            "number to integer: stoi"}));
}

TEST_F(StoredSequenceNumber, CoversTheRangeOf32Bits) {
    EXPECT_EQ(sequenceNumber("2147483647\n"), 2147483647);
    EXPECT_EQ(sequenceNumber("-2147483648\n"), -2147483647 - 1);
    clearLog();
    EXPECT_EQ(sequenceNumber("2147483648\n"), 0);
    EXPECT_TRUE(vesktest::contains(lines(),
                                   "VeskNVMeLibrary_Helper::readEventSeqNumberFromINIFile: Error "
                                   "converting sequence number to integer: stoi"));
}

TEST_F(StoredSequenceNumber, KeyAloneThrows) {
    host().writeMappingIni("[EventSequenceNumber]\nSequenceNumber\n");
    EXPECT_THROW(Helper::readEventSeqNumberFromINIFile(), std::out_of_range);
}

TEST_F(PollingInterval, IsReadAndLogged) {
    EXPECT_EQ(interval("120\n"), 120);
    EXPECT_EQ(
        lines(),
        (LogLines{"CVeskNVMeMonitor::polling(): Polling interval value read from config file: "
                  "120",
                  "CVeskNVMeMonitor::polling(): Polling interval value (in integer): 120"}));
}

TEST_F(PollingInterval, IsHandedOutAsItStands) {
    EXPECT_EQ(interval("0\n"), 0);
    EXPECT_EQ(interval("-1\n"), -1);
    EXPECT_EQ(interval("65536\n"), 65536);
    EXPECT_EQ(interval(" 60s\n"), 60);
}

TEST_F(PollingInterval, Is50WithoutAFileOrAnEntry) {
    EXPECT_EQ(Helper::readPollingIntervalFromINIFile(), 50);
    EXPECT_EQ(
        lines(),
        (LogLines{"CVeskNVMeMonitor::polling(): Polling interval value read from config file: "
                  "50",
                  "CVeskNVMeMonitor::polling(): Polling interval value (in integer): 50"}));
    host().writeConfigIni("[Polling]\nother=7\n");
    EXPECT_EQ(Helper::readPollingIntervalFromINIFile(), 50);
    host().writeConfigIni("pollingIntervalInSeconds=70\n[Logging]\npollingIntervalInSeconds=80\n");
    EXPECT_EQ(Helper::readPollingIntervalFromINIFile(), 50);
}

TEST_F(PollingInterval, ThatIsNoNumberIs50AndLogged) {
    EXPECT_EQ(interval("often\n"), 50);
    EXPECT_EQ(
        lines(),
        (LogLines{"CVeskNVMeMonitor::polling(): Polling interval value read from config file: "
                  "often",
                  "CVeskNVMeMonitor::polling(): Error converting polling interval from config "
                  "file, to integer: stoi"}));
    EXPECT_EQ(interval("99999999999\n"), 50);
    EXPECT_EQ(interval("\n"), 50);
}

TEST_F(PollingInterval, BlankBeforeTheSeparatorIsAConversionError) {
    host().writeConfigIni("[Polling]\npollingIntervalInSeconds =70\n");
    EXPECT_EQ(Helper::readPollingIntervalFromINIFile(), 50);
    EXPECT_TRUE(vesktest::contains(
        lines(), "CVeskNVMeMonitor::polling(): Polling interval value read from config file: =70"));
    EXPECT_TRUE(vesktest::contains(lines(),
                                   "CVeskNVMeMonitor::polling(): Error converting polling interval "
                                   "from config file, to integer: stoi"));
}

TEST_F(PollingInterval, KeyAloneThrows) {
    host().writeConfigIni("[Polling]\npollingIntervalInSeconds\n");
    EXPECT_THROW(Helper::readPollingIntervalFromINIFile(), std::out_of_range);
}
