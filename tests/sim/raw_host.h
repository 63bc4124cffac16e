// Speaks to libvmkmgmt.so with records laid out by hand, so that the host's own idea of them is
// tested, too.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace simtest {

using Bytes = std::vector<std::uint8_t>;

// Little endian.
void put(std::uint8_t* place, std::uint64_t value, std::size_t width);
std::string text(const Bytes& bytes, std::size_t offset, std::size_t width);

// What a connection is opened with: 80 bytes of signature, 64 bytes for each callback. The address
// of the table is filled in when it is opened.
struct Opening {
    std::array<std::uint8_t, 80> signature = {};
    std::array<std::uint8_t, 128> table = {};
    std::uint64_t cookie = 0;
    bool withTable = true;

    int open(std::uint64_t* handle);
};
Opening listOpening();
Opening adapterOpening(const std::string& signatureName = "nvmeMgmt-vmhba2");

using CommandRecord = std::array<std::uint8_t, 120>;
CommandRecord eventRead(std::uint32_t offset, std::uint32_t length);
CommandRecord diskRead(std::uint32_t id);
CommandRecord volumeRead(std::uint32_t id);
CommandRecord smartRead(std::uint32_t id);
CommandRecord locate(std::uint32_t cdw14);

struct Result {
    int code = -1;             // of the call
    std::uint16_t status = 0;  // completion status word
    Bytes data;                // 4096 bytes, those that did not arrive 0xA5
};

// A connection for as long as the object lives.
class Connection {
public:
    explicit Connection(const std::string& signatureName = "nvmeMgmt-vmhba2");
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    std::uint64_t handle() const { return m_handle; }
    Result send(const CommandRecord& command, std::uint32_t request = 1);

    Bytes area();  // the 64 KiB of the event log
    // The lines that a reader of the log gets: page by page from byte 40 on, and of a line that is
    // cut at a page end the rest among the first 8 bytes of the next page, if it ends there.
    std::vector<std::string> readableLines();

private:
    std::uint64_t m_handle = 0;
};

}  // namespace simtest
