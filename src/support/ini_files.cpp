#include "support/ini_files.h"

#include "support/log_line.h"
#include "support/trace.h"

#include <cstdint>
#include <cstdio>
#include <exception>
#include <fstream>
#include <ios>
#include <new>
#include <stdexcept>
#include <string>

namespace {

constexpr const char* kConfigFile = "libVeskNVMeConfig.ini";
constexpr const char* kMappingFile = "libVeskNVMeAlertMapping.ini";
constexpr const char* kIniFolders[] = {"/opt/orvo/kelpdesk/etc/kelpdesk-storage/",
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

// Steps backwards from `end` to the last "=" and returns where it stands; -1, with the stream
// failed, if there is none. A read that fails leaves the stream bad.
std::int64_t findLastEqualsSign(std::fstream& file, std::int64_t end) {
    std::int64_t position = end;
    file.seekg(position);
    char character = 0;
    while (file.get(character)) {
        if (character == '=') {
            stg::logLine(
                "VeskNVMeLibrary_Helper::writePropertyToFile(): The previous SEQ number was "
                "of length = ");
            break;
        }
        --position;
        file.seekg(position);
        stg::logLine("VeskNVMeLibrary_Helper::  CHARs = ", character);
    }
    return position;
}

std::int64_t positionOfLastByte(const STDSTR& path) {
    std::int64_t last = 0;
    std::ifstream file(path, std::ios::binary);
    if (file.is_open()) {
        stg::logLine("VeskNVMeLibrary_Helper::writeSEQNumberToFile(): File is open");
        file.seekg(0, std::ios::end);
        last = static_cast<std::int64_t>(file.tellg()) - 1;
    }
    stg::logLine("VeskNVMeLibrary_Helper::writePropertyToFile(): The EOF position = ", last);
    return last;
}

// Writes `number` over the old one, which runs from behind `equalsSign` to `last`. Returns whether
// it is in the file, as far as the stream can tell.
bool overwriteNumber(std::fstream& file, const STDSTR& number, std::int64_t equalsSign,
                     std::int64_t last) {
    file.seekp(equalsSign + 1);
    stg::logLine("VeskNVMeLibrary_Helper::writePropertyToFile() : Write SEQ Number pos = ",
                 equalsSign);
    const bool hadPlace = file.good();
    const std::int64_t oldLength = last - equalsSign;
    const auto newLength = static_cast<std::int64_t>(number.size());
    if (oldLength > newLength + 1) {
        // ODDITY: a shorter number is put at the end of the old text, behind NUL bytes, so that the
        // file keeps its size; it then reads back as 0. A mark that goes down gets here, and one
        // with more than a line feed behind it. Pinned by
        // SequenceNumberFile.MuchShorterNumberIsPaddedWithNul.
        for (std::int64_t count = oldLength - newLength; hadPlace && count > 0; --count) {
            file.put('\0');
        }
    }
    stg::logLine("VeskNVMeLibrary_Helper::writePropertyToFile() : Write SEQ Number = ", number);
    file.write(number.data(), newLength);
    file.flush();
    file.close();
    const bool written = file.good();
    // ODDITY: a file without any "=" offers no place; nothing is written then, and that counts as
    // done. Pinned by SequenceNumberFile.FileWithoutEqualsSignIsLeftAlone.
    return written || !hadPlace;
}

}  // namespace

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
        try {
            const STDSTR value =
                readPropertyFromFile(m_LibPath + kConfigFile, "Logging", "Debug", "");
            start = value == "On" || value == "on";
        } catch (const std::ios_base::failure&) {
            // A configuration that cannot be read is like none: logging stays off.
        }
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
    // What goes wrong while lines are read, lack of memory too, must not look like the file's end,
    // or an event whose row was not reached would be lost as one without a row.
    file.exceptions(std::ios::badbit);
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
    STDSTR text = std::to_string(kDefaultPollingInterval);
    try {
        text = readPropertyFromFile(m_LibPath + kConfigFile, "Polling", "pollingIntervalInSeconds",
                                    text);
    } catch (const std::ios_base::failure&) {
        // The same: the default. An exception would end the process from the polling thread.
    } catch (const std::bad_alloc&) {
        // The same.
    }
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

USHORT_INT VeskNVMeLibrary_Helper::writeSEQNumberToFile(STDSTR path, STDSTR number) {
    LOG_ENTRY;
    USHORT_INT result = 1;
    try {
        const std::int64_t last = positionOfLastByte(path);
        // ODDITY: the number is rewritten in place, behind the last "=" of the whole file, with no
        // look at sections, and nothing else of the file moves. Pinned by
        // SequenceNumberFile.RowBehindTheSequenceSectionIsOverwritten.
        std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
        if (file.is_open()) {
            const std::int64_t equalsSign = findLastEqualsSign(file, last);
            // A file that cannot be read, or a full disk, must not look like a stored mark, or
            // events would be lost with it.
            if (!file.bad() && overwriteNumber(file, number, equalsSign, last)) {
                stg::logLine("VeskNVMeLibrary_Helper::writePropertyToFile() : Write complete...");
                result = 0;
            }
        }
    } catch (const std::exception& error) {
        stg::logLine(error.what());
        result = 1;
    }
    LOG_EXIT;
    return result;
}
