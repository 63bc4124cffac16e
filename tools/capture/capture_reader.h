// Reads a capture file, record by record. Whatever the file holds, a reader ends, and takes no more
// memory than one record of the largest size.
#pragma once

#include "capture/capture_format.h"

#include <cstdint>
#include <fstream>
#include <istream>
#include <stdexcept>
#include <string>
#include <vector>

namespace veskcap {

// The file is no capture file that can be read. what() says why and what to do.
class CaptureError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct Piece {
    PieceHeader header = {};
    std::string bytes;  // header.stored of them
};

struct Record {
    std::uint64_t offset = 0;  // in the file
    std::uint64_t number = 0;  // 1 is the first
    RecordHeader header = {};

    StartBody start = {};  // kStartRecord
    FileBody file = {};    // kFileRecord
    std::string text;      // name of the program, path of the file
    std::string content;   // of the file

    ExchangeBody exchange = {};  // kExchangeRecord
    std::vector<Piece> pieces;

    // The first piece of this kind, null if there is none.
    const Piece* find(PieceKind kind, unsigned index = 0) const;
};

// The file, to be read. Throws CaptureError if it cannot be opened, and for what is no plain file:
// of a pipe or a device the end may never come.
std::ifstream openCapture(const std::string& path);

class CaptureReader {
public:
    // Reads the header. The stream must be seekable and outlive the reader. Throws CaptureError.
    explicit CaptureReader(std::istream& stream);

    const FileHeader& header() const { return m_header; }

    // False behind the last record and at damage. Record types that this version does not know are
    // handed out with their header only.
    bool next(Record& record);

    // Where and why reading ended before the end of the file; empty if it did not.
    const std::string& damage() const { return m_damage; }

private:
    bool fail(const std::string& reason);

    std::istream& m_stream;
    std::uint64_t m_size = 0;
    std::uint64_t m_offset = 0;
    std::uint64_t m_number = 0;
    FileHeader m_header = {};
    std::string m_body;
    std::string m_damage;
};

}  // namespace veskcap
