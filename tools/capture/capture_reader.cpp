#include "capture/capture_reader.h"

#include "capture/crc32c.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <sys/stat.h>

namespace veskcap {

namespace {

// Takes fields off the front of a body.
class Fields {
public:
    explicit Fields(const std::string& body) : m_body(body) {}

    template <class Value>
    bool take(Value& value) {
        if (left() < sizeof(value)) {
            return false;
        }
        std::memcpy(&value, m_body.data() + m_at, sizeof(value));
        m_at += sizeof(value);
        return true;
    }

    bool take(std::string& text, std::size_t size) {
        if (left() < size) {
            return false;
        }
        text.assign(m_body, m_at, size);
        m_at += size;
        return true;
    }

    std::size_t left() const { return m_body.size() - m_at; }

private:
    const std::string& m_body;
    std::size_t m_at = 0;
};

// Each gives the reason why the body is none, or null.
const char* readStart(Fields fields, Record& record) {
    const bool whole =
        fields.take(record.start) && fields.take(record.text, record.start.nameLength);
    return whole && fields.left() == 0 ? nullptr : "a start whose lengths do not fit together";
}

const char* readFile(Fields fields, Record& record) {
    const bool whole = fields.take(record.file) &&
                       fields.take(record.text, record.file.pathLength) &&
                       fields.take(record.content, record.file.contentLength);
    return whole && fields.left() == 0 ? nullptr : "a file whose lengths do not fit together";
}

const char* readExchange(Fields fields, Record& record) {
    if (!fields.take(record.exchange)) {
        return "an exchange that is too short";
    }
    if (record.exchange.call < kInit || record.exchange.call > kDestroy) {
        return "an exchange with a call that does not exist";
    }
    if (record.exchange.pieceCount > kMostPieces) {
        return "an exchange with more pieces than there can be";
    }
    for (std::uint32_t i = 0; i < record.exchange.pieceCount; ++i) {
        Piece piece;
        if (!fields.take(piece.header) || piece.header.stored > piece.header.length ||
            !fields.take(piece.bytes, piece.header.stored)) {
            return "an exchange with a piece whose lengths do not fit together";
        }
        record.pieces.push_back(std::move(piece));
    }
    return fields.left() == 0 ? nullptr : "an exchange with bytes behind its last piece";
}

const char* readBody(const std::string& body, Record& record) {
    switch (record.header.type) {
    case kStartRecord:
        return readStart(Fields(body), record);
    case kFileRecord:
        return readFile(Fields(body), record);
    case kExchangeRecord:
        return readExchange(Fields(body), record);
    default:
        return nullptr;
    }
}

}  // namespace

const Piece* Record::find(PieceKind kind, unsigned index) const {
    const auto found = std::find_if(pieces.begin(), pieces.end(), [=](const Piece& piece) {
        return piece.header.kind == kind && piece.header.index == index;
    });
    return found == pieces.end() ? nullptr : &*found;
}

std::ifstream openCapture(const std::string& path) {
    struct stat status = {};
    if (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
        throw CaptureError("it is no plain file: name one, or copy into one what this gives");
    }
    std::ifstream stream(path, std::ios::binary);
    if (!stream) {
        throw CaptureError(std::string("it cannot be opened: ") + std::strerror(errno));
    }
    return stream;
}

CaptureReader::CaptureReader(std::istream& stream) : m_stream(stream) {
    m_stream.seekg(0, std::ios::end);
    const std::streamoff size = m_stream.tellg();
    m_stream.seekg(0);
    if (!m_stream || size < 0) {
        throw CaptureError("it cannot be read");
    }
    m_size = static_cast<std::uint64_t>(size);
    m_stream.read(reinterpret_cast<char*>(&m_header), sizeof(m_header));
    const auto got = static_cast<std::size_t>(m_stream.gcount());
    if (got == 0 || std::memcmp(m_header.magic, kMagic, std::min(got, sizeof(kMagic))) != 0) {
        throw CaptureError(m_size == 0 ? "it is empty: nothing was recorded"
                                       : "it is no capture file: another one is needed");
    }
    if (got >= offsetof(FileHeader, length) && m_header.version > kVersion) {
        throw CaptureError("it was written by a newer program (format " +
                           std::to_string(m_header.version) + ", this one reads format " +
                           std::to_string(kVersion) + "): use that program");
    }
    if (got < sizeof(m_header)) {
        throw CaptureError("it ends inside its header, at offset " + std::to_string(got) +
                           ": nothing was recorded");
    }
    if (m_header.version != kVersion || m_header.length != sizeof(m_header) ||
        m_header.crc != crc32c(0, &m_header, offsetof(FileHeader, crc))) {
        throw CaptureError("its header is damaged (offset 0): take the capture anew");
    }
    m_offset = sizeof(m_header);
}

bool CaptureReader::fail(const std::string& reason) {
    m_damage = "record " + std::to_string(m_number + 1) + " at offset " + std::to_string(m_offset) +
               ": " + reason;
    return false;
}

bool CaptureReader::next(Record& record) {
    record = Record();
    const std::uint64_t left = m_size - m_offset;
    if (left == 0 || !m_damage.empty()) {
        return false;
    }
    if (left < sizeof(record.header)) {
        return fail("the file ends inside the record's header");
    }
    m_stream.read(reinterpret_cast<char*>(&record.header), sizeof(record.header));
    if (record.header.length > kLongestBody) {
        return fail("a length of " + std::to_string(record.header.length) +
                    " bytes, more than a record can have");
    }
    if (record.header.length > left - sizeof(record.header)) {
        return fail("the file ends inside the record");
    }
    m_body.resize(record.header.length);
    m_stream.read(m_body.data(), static_cast<std::streamsize>(m_body.size()));
    if (!m_stream) {
        return fail("the file cannot be read any further");
    }
    constexpr std::size_t kSummed = offsetof(RecordHeader, length);
    const std::uint32_t crc = crc32c(0, reinterpret_cast<const char*>(&record.header) + kSummed,
                                     sizeof(record.header) - kSummed);
    if (crc32c(crc, m_body.data(), m_body.size()) != record.header.crc) {
        return fail("the checksum is wrong");
    }
    const char* const reason = readBody(m_body, record);
    if (reason != nullptr) {
        return fail(reason);
    }
    record.offset = m_offset;
    record.number = ++m_number;
    m_offset += sizeof(record.header) + m_body.size();
    return true;
}

}  // namespace veskcap
