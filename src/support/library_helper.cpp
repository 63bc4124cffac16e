#include "support/library_helper.h"

#include "support/log_line.h"
#include "support/trace.h"

#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <string>

namespace {

const char* const kConfigFile = "libVeskNVMeConfig.ini";
const char* const kMappingFile = "libVeskNVMeAlertMapping.ini";
const char* const kIniFolders[] = {"/opt/orvo/kelpdesk/etc/kelpdesk-storage/",
                                   "/etc/cim/orvo/kelpdesk/kelpdesk-storage/"};
constexpr INTEGER kDefaultPollingInterval = 50;

// The number at the start of `text`; announces it in the log if there is an announcement. Where
// there is no number it logs `complaint` and why, and yields `fallback`.
INTEGER toNumber(const STDSTR& text, const char* announcement, const char* complaint,
                 INTEGER fallback) {
    try {
        const INTEGER number = std::stoi(text);
        if (announcement != nullptr) {
            stg::logLine(announcement, number);
        }
        return number;
    } catch (const std::logic_error& error) {
        stg::logLine(complaint, error.what());
        return fallback;
    }
}

void removeLineEnd(std::string& text) {
    if (!text.empty() && (text.back() == '\r' || text.back() == '\n')) {
        text.pop_back();
    }
}

bool isComment(const std::string& line) {
    return !line.empty() && line.front() == ';';
}

bool findSection(std::ifstream& file, const STDSTR& section) {
    const std::string header = "[" + section + "]";
    std::string line;
    while (std::getline(file, line)) {
        removeLineEnd(line);
        if (line == header) {
            return true;
        }
    }
    return false;
}

}  // namespace

STDSTR VeskNVMeLibrary_Helper::m_LibPath;
INTEGER VeskNVMeLibrary_Helper::m_DebugValue = 0;

VOID_ VeskNVMeLibrary_Helper::getLinuxINIPath() {
    LOG_ENTRY;
    bool found = false;
    for (const char* folder : kIniFolders) {
        std::FILE* file = std::fopen((std::string(folder) + kConfigFile).c_str(), "r");
        if (file != nullptr) {
            m_LibPath = folder;
            std::fclose(file);
            found = true;
            break;
        }
    }
    if (!found) {
        // ODDITY: the line is read and not used, and the stream is left open: files are then looked
        // for in the working directory by name alone. Pinned by
        // IniPath.FallsBackToTheWorkingFolder.
        std::FILE* const pipe = popen("pwd", "r");
        char line[512];
        if (pipe != nullptr) {
            const char* const unused = std::fgets(line, sizeof(line), pipe);
            static_cast<void>(unused);
        }
    }
    LOG_EXIT;
}

VOID_ VeskNVMeLibrary_Helper::setDebugLevel(INTEGER level) {
    LOG_ENTRY;
    getLinuxINIPath();
    bool start = level == 1;
    if (level == 2) {
        const STDSTR value = readPropertyFromFile(m_LibPath + kConfigFile, "Logging", "Debug", "");
        start = value == "On" || value == "on";
    }
    if (start) {
        stg::lout.startDebug();
        stg::logLine("VeskNVMeLibrary: Logging started....");
        m_DebugValue = 1;
    } else if (level == 0) {
        stg::logLine("VeskNVMeLibrary: Logging Terminated!!!");
        stg::lout.stopDebug();
        m_DebugValue = 0;
    }
    LOG_EXIT;
}

STDSTR VeskNVMeLibrary_Helper::readPropertyFromFile(STDSTR path, STDSTR section, STDSTR key,
                                                    STDSTR defaultValue) {
    LOG_ENTRY;
    STDSTR result = defaultValue;
    std::ifstream file(path);
    if (file.is_open() && findSection(file, section)) {
        std::string line;
        while (std::getline(file, line)) {
            if (!line.empty() && line.front() == '[') {
                break;
            }
            // ODDITY: the key is compared at its own length only, so it also matches the line of a
            // longer key, and the character behind it is skipped unseen. The files are ordered for
            // this: shorter keys first. Pinned by IniReader.KeyMatchesTheBeginningOfALongerKey.
            if (!isComment(line) && line.compare(0, key.size(), key) == 0) {
                result = line.substr(key.size() + 1);
                removeLineEnd(result);
                break;
            }
        }
    }
    LOG_EXIT;
    return result;
}

USHORT_INT VeskNVMeLibrary_Helper::readEventCodeFromINIFile(STDSTR section, USHORT_INT code) {
    LOG_ENTRY;
    const STDSTR text =
        readPropertyFromFile(m_LibPath + kMappingFile, section, std::to_string(code), "65535");
    const INTEGER mapped = toNumber(text, nullptr,
                                    "VeskNVMeLibrary_Helper::readEventCodeFromINIFile: Error "
                                    "converting event code to integer: ",
                                    0);
    LOG_EXIT;
    return static_cast<USHORT_INT>(mapped);
}

INTEGER VeskNVMeLibrary_Helper::readEventSeqNumberFromINIFile() {
    LOG_ENTRY;
    const STDSTR text = readPropertyFromFile(m_LibPath + kMappingFile, "EventSequenceNumber",
                                             "SequenceNumber", "0");
    stg::logLine(" VeskNVMeLibrary_Helper::readEventSeqNumberFromINIFile: Sequence Number: ", text);
    const INTEGER number = toNumber(
        text,
        " VeskNVMeLibrary_Helper::readEventSeqNumberFromINIFile: Sequence Number after stoi: ",
        "VeskNVMeLibrary_Helper::readEventSeqNumberFromINIFile: Error converting sequence number "
        "to "
        "integer: ",
        0);
    LOG_EXIT;
    return number;
}

INTEGER VeskNVMeLibrary_Helper::readPollingIntervalFromINIFile() {
    LOG_ENTRY;
    const STDSTR text =
        readPropertyFromFile(m_LibPath + kConfigFile, "Polling", "pollingIntervalInSeconds",
                             std::to_string(kDefaultPollingInterval));
    stg::logLine("CVeskNVMeMonitor::polling(): Polling interval value read from config file: ",
                 text);
    const INTEGER seconds = toNumber(
        text, "CVeskNVMeMonitor::polling(): Polling interval value (in integer): ",
        "CVeskNVMeMonitor::polling(): Error converting polling interval from config file, to "
        "integer: ",
        kDefaultPollingInterval);
    LOG_EXIT;
    return seconds;
}

USHORT_INT VeskNVMeLibrary_Helper::writeLastProcessedEventSeqNumberToINIFile(INTEGER number) {
    LOG_ENTRY;
    const USHORT_INT result =
        writeSEQNumberToFile(m_LibPath + kMappingFile, std::to_string(number));
    LOG_EXIT;
    return result;
}
