// The writing end of a capture file. Several processes may write to one file: each record goes out
// in one call, at the file's end. Nothing here throws.
#pragma once

#include "capture/capture_format.h"

#include <cstddef>
#include <cstdint>

#include <sys/stat.h>
#include <sys/uio.h>

namespace veskcap {

class CaptureFile {
public:
    // Makes the file, or goes on with one of the same kind: masked alike, with the same key. Of a
    // file that a killed process left, an incomplete last record is cut off. False if it cannot be
    // used; problem() says why.
    bool open(const char* path, std::uint32_t flags, std::uint32_t keyCheck);

    // Writes the record whole. body[0] is left to this function. pid and type of the header must be
    // set. False if it could not be written; problem() says why.
    bool append(RecordHeader& header, iovec* pieces, int pieceCount);

    const char* problem() const { return m_problem; }
    const char* path() const { return m_path; }

private:
    bool fail(const char* doing, int error);
    bool refuse(const char* reason);
    bool takeHigh(int descriptor);
    bool stillOurs();
    bool checkHeader(std::uint32_t flags, std::uint32_t keyCheck);
    bool writeHeader(std::uint32_t flags, std::uint32_t keyCheck);
    bool cutIncompleteRecord();

    int m_descriptor = -1;
    bool m_sizeIsLimited = false;
    struct stat m_identity = {};
    char m_path[4096] = "";
    char m_problem[512] = "";
};

}  // namespace veskcap
