// The writing end of a capture file. Several processes may write to one file: each record goes out
// in one call, at the file's end. Nothing here throws.
#pragma once

#include "capture/capture_format.h"

#include <cstddef>
#include <cstdint>

#include <sys/stat.h>

namespace veskcap {

class CaptureFile {
public:
    CaptureFile() = default;
    ~CaptureFile();
    CaptureFile(const CaptureFile&) = delete;
    CaptureFile& operator=(const CaptureFile&) = delete;

    // Makes the file, or goes on with one of the same kind: masked alike, with the same key. Of a
    // file that a killed process left, an incomplete last record is cut off, and an incomplete
    // header written anew. False if it cannot be used, as one with a wrong checksum; problem() says
    // why.
    bool open(const char* path, std::uint32_t flags, std::uint32_t keyCheck);

    // Writes the record: a RecordHeader, of which type and pid are set, and its body; the length
    // and the checksum are put in here. False if it could not be written: problem() says why,
    // and nothing can be written any more. What was written of it is taken back, unless another
    // process has written behind it.
    bool append(char* record, std::size_t size);

    const char* problem() const { return m_problem; }
    const char* path() const { return m_path; }

private:
    bool fail(const char* doing, int error);
    bool refuse(const char* reason);
    bool takeHigh(int descriptor);
    bool stillOurs();
    bool putInOrder(bool alone);
    bool checkHeader();
    bool writeHeader();
    bool cutIncompleteRecord();
    bool sumIsRight(const RecordHeader& header, off_t at) const;
    bool writeWhole(const void* data, std::size_t size);
    void takeBack(const void* data, std::size_t size);
    void close();

    int m_descriptor = -1;
    FileHeader m_header = {};
    struct stat m_identity = {};
    char m_path[4096] = "";
    char m_problem[512] = "";
};

}  // namespace veskcap
