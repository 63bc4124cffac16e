#include "support/ini_files.h"

#include "support/line_reader.h"
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
#include <string_view>

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

std::string_view withoutLineEnd(std::string_view text) {
    if (!text.empty() && (text.back() == '\r' || text.back() == '\n')) {
        text.remove_suffix(1);
    }
    return text;
}

bool findSection(stg::LineReader& file, const STDSTR& section) {
    const std::string header = "[" + section + "]";
    std::string_view line;
    while (file.next(line)) {
        if (withoutLineEnd(line) == header) {
            return true;
        }
    }
    return false;
}

// Steps backwards from `end` to the last "=" and returns where it stands; -1, with the stream
// failed, if there is none. Where it stands elsewhere with the stream failed, a read or a seek did.
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
        // By pieces: a line feed of the file ends its own line of the log.
        stg::lout << "VeskNVMeLibrary_Helper::  CHARs = " << character << '\n';
    }
    return position;
}

// Whether the position of the last byte is known: -1 in an empty file.
bool findLastByte(const STDSTR& path, std::int64_t& last) {
    last = 0;
    std::ifstream file(path, std::ios::binary);
    if (file.is_open()) {
        stg::logLine("VeskNVMeLibrary_Helper::writeSEQNumberToFile(): File is open");
        file.seekg(0, std::ios::end);
        last = static_cast<std::int64_t>(file.tellg()) - 1;
    }
    stg::logLine("VeskNVMeLibrary_Helper::writePropertyToFile(): The EOF position = ", last);
    return file.is_open() && last >= -1;
}

// Writes `number` over the old one, which runs from behind `equalsSign` to `last`. Returns whether
// it is in the file, as far as the stream can tell.
bool overwriteNumber(std::fstream& file, const STDSTR& number, std::int64_t equalsSign,
                     std::int64_t last) {
    const bool hasPlace = equalsSign >= 0;
    file.seekp(equalsSign + 1);
    stg::logLine("VeskNVMeLibrary_Helper::writePropertyToFile() : Write SEQ Number pos = ",
                 equalsSign);
    const std::int64_t oldLength = last - equalsSign;
    const auto newLength = static_cast<std::int64_t>(number.size());
    if (oldLength > newLength + 1) {
        // ODDITY: a shorter number is put at the end of the old text, behind NUL bytes, so that the
        // file keeps its size; it then reads back as 0. A mark that goes down gets here, and one
        // with more than a line feed behind it. Pinned by
        // SequenceNumberFile.MuchShorterNumberIsPaddedWithNul.
        for (std::int64_t count = oldLength - newLength; hasPlace && count > 0; --count) {
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
    return written || !hasPlace;
}

}  // namespace

INTEGER VeskNVMeLibrary_Helper::m_DebugValue = 0;

VOID_ VeskNVMeLibrary_Helper::getLinuxINIPath() {
    LOG_ENTRY;
    bool found = false;
    for (const char* folder : kIniFolders) {
        std::FILE* file = std::fopen((std::string(folder) + kConfigFile).c_str(), "r");
        if (file != nullptr) {
            std::fclose(file);  // first, as the text may find no memory
            m_LibPath = folder;
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
    // What goes wrong while lines are read, lack of memory too, is thrown: it must not look like
    // the file's end, or an event whose row was not reached would be lost as one without a row.
    stg::LineReader file(path);
    if (file.is_open() && findSection(file, section)) {
        std::string_view line;
        while (file.next(line)) {
            // The first characters settle nearly all lines, at a fraction of what a call costs.
            const char first = line.empty() ? '\0' : line.front();
            if (first == '[') {
                break;
            }
            if (first == ';' || (!key.empty() && first != key.front())) {
                continue;
            }
            // ODDITY: the key is compared at its own length only, so it also matches the line of a
            // longer key, and the character behind it is skipped unseen. The files are ordered for
            // this: shorter keys first. Pinned by IniReader.KeyMatchesTheBeginningOfALongerKey.
            if (line.compare(0, key.size(), key) == 0) {
                const STDSTR value = STDSTR(line).substr(key.size() + 1);
                result = withoutLineEnd(value);
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
        // ODDITY: that of a line without "=" and a value does. Pinned by
        // EventMonitorDeathTest.IntervalLineWithoutAValueEndsTheProcess.
    } catch (const std::bad_alloc&) {
        // The same.
    }
    stg::logLine("CVeskNVMeMonitor::polling(): Polling interval value read from config file: ",
                 text);
    INTEGER seconds = kDefaultPollingInterval;
    try {
        seconds = toNumber(
            text, "CVeskNVMeMonitor::polling(): Polling interval value (in integer): ",
            "CVeskNVMeMonitor::polling(): Error converting polling interval from config file, to "
            "integer: ",
            kDefaultPollingInterval);
    } catch (const std::bad_alloc&) {
        // There is none either for the exception that says that the text is no number.
    }
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
        std::int64_t last = 0;
        const bool measured = findLastByte(path, last);
        // ODDITY: the number is rewritten in place, behind the last "=" of the whole file, with no
        // look at sections, and nothing else of the file moves. Pinned by
        // SequenceNumberFile.RowBehindTheSequenceSectionIsOverwritten.
        std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
        if (file.is_open() && measured) {
            const std::int64_t equalsSign = findLastEqualsSign(file, last);
            // A file that cannot be read, or a full disk, must not look like a stored mark: nobody
            // would be told that the events come again.
            const bool walked = file.good() || (equalsSign < 0 && !file.bad());
            if (walked && overwriteNumber(file, number, equalsSign, last)) {
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
