// The in-place rewrite of the last processed sequence number.
#include "support/library_helper.h"

#include "support/log_line.h"
#include "support/trace.h"

#include <cstdint>
#include <exception>
#include <fstream>
#include <string>

namespace {

// Steps backwards from `end` to the last "=" and returns where it stands; -1, with the stream
// failed, if there is none.
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
        // file keeps its size. Only a mark that goes down gets here, and it then reads back as 0.
        // Pinned by SequenceNumberFile.MuchShorterNumberIsPaddedWithNul.
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
            // A full disk must not look like a stored mark, or events would be lost with it.
            if (overwriteNumber(file, number, equalsSign, last)) {
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
