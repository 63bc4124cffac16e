// The controller's replies: what of the scenario stands at which byte.
#pragma once

#include "sim/scenario/noise.h"
#include "sim/scenario/scenario.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace vesksim {

// A reply while it is written. It starts as noise: what no field defines has no promised value, and
// a reader who relies on zeros there shall notice.
class Reply {
public:
    Reply(std::size_t size, std::uint64_t seed) : m_bytes(noise(size, seed)) {}

    // Little endian; the field must lie inside the reply.
    void put8(std::size_t offset, std::uint8_t value) { putNumber(offset, value, 1); }
    void put16(std::size_t offset, std::uint16_t value) { putNumber(offset, value, 2); }
    void put32(std::size_t offset, std::uint32_t value) { putNumber(offset, value, 4); }
    void put64(std::size_t offset, std::uint64_t value) { putNumber(offset, value, 8); }
    // A 16-byte counter.
    void put128(std::size_t offset, std::uint64_t value);
    // As much of the text as fits, and the padding behind it; no terminator.
    void putText(std::size_t offset, std::size_t width, const std::string& text, char padding);
    void clear(std::size_t offset, std::size_t width);

    std::vector<std::uint8_t> take() { return std::move(m_bytes); }

private:
    void putNumber(std::size_t offset, std::uint64_t value, std::size_t width);

    std::vector<std::uint8_t> m_bytes;
};

// Of the adapter as a whole, 4096 bytes each.
std::vector<std::uint8_t> identifyPage(const Adapter& adapter, std::uint64_t noiseSeed);
std::vector<std::uint8_t> adapterInfoPage(const Adapter& adapter, std::uint64_t noiseSeed);

const Disk* findDisk(const Adapter& adapter, std::uint32_t id);

// 4096 bytes: the record of the disk, or one that says that there is no such disk.
std::vector<std::uint8_t> physicalDiskReply(const Adapter& adapter, std::uint32_t id,
                                            std::uint64_t noiseSeed);

// 4096 bytes: the record of the virtual disk, or one that says that there is no such disk.
std::vector<std::uint8_t> virtualDiskReply(const Adapter& adapter, std::uint32_t id,
                                           std::uint64_t noiseSeed);

// The SMART / Health Information page (log page 2) of a disk, 512 bytes.
std::vector<std::uint8_t> smartPage(const Smart& smart, std::uint64_t noiseSeed);

}  // namespace vesksim
