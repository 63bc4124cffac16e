// A capture file: as the bytes are, and once more with the checksums set right, since hardly any
// change gets past those. The reader has to end, and to keep to what the file has.
#include "capture_sums.h"
#include "fuzz_target.h"

#include "capture/capture_reader.h"
#include "capture/command_name.h"

#include <algorithm>
#include <cstring>
#include <sstream>
#include <string>

namespace {

using veskfuzz::require;

void read(const std::string& bytes) {
    std::istringstream stream(bytes);
    try {
        veskcap::CaptureReader reader(stream);
        veskcap::Record record;
        std::uint64_t offset = sizeof(veskcap::FileHeader);
        std::uint64_t number = 0;
        while (reader.next(record)) {
            require(record.offset == offset && record.number == ++number, "records in a row");
            offset += sizeof(record.header) + record.header.length;
            require(offset <= bytes.size(), "a record lies inside the file");
            std::size_t held = record.text.size() + record.content.size();
            for (const veskcap::Piece& piece : record.pieces) {
                require(piece.bytes.size() == piece.header.stored, "a piece has its bytes");
                held += piece.bytes.size();
                nvme_uio command = {};
                std::memcpy(&command, piece.bytes.data(),
                            std::min(piece.bytes.size(), sizeof(command)));
                require(!veskcap::commandName(command).empty(), "each command has a name");
                require(!veskcap::commandNumbers(command).empty(), "and numbers");
            }
            require(held <= record.header.length, "no more comes out than is in the file");
        }
        require(reader.damage().empty() == (offset == bytes.size()),
                "what is not read to its end is damaged");
        require(!reader.next(record), "the end is the end");
    } catch (const veskcap::CaptureError& error) {
        require(error.what()[0] != '\0', "a refusal has a reason");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    read(bytes);
    read(veskfuzz::withRightSums(bytes));
    return 0;
}
