#include "raw_host.h"

#include "transport/vmk_mgmt.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

namespace simtest {

namespace {

void putRow(std::uint8_t* row, std::uint64_t id, std::uint32_t secondSize, std::uint32_t firstType,
            std::uint32_t secondType) {
    put(row, 1, 4);
    put(row + 16, 1, 1);
    put(row + 17, 2, 1);
    put(row + 20, 4, 4);
    put(row + 24, secondSize, 4);
    put(row + 36, firstType, 4);
    put(row + 40, secondType, 4);
    put(row + 56, id, 8);
}

Opening opening(const std::string& name, std::uint32_t callbacks) {
    Opening result;
    put(result.signature.data(), 0x01000000, 4);
    std::memcpy(result.signature.data() + 4, name.data(), std::min<std::size_t>(name.size(), 32));
    std::memcpy(result.signature.data() + 36, "VMware", 6);
    put(result.signature.data() + 68, callbacks, 4);
    return result;
}

CommandRecord vendorRead(std::uint32_t cdw12, std::uint32_t cdw14) {
    CommandRecord record = {};
    put(record.data(), 0xE2, 1);
    put(record.data() + 40, 0x400, 4);
    put(record.data() + 48, cdw12, 4);
    put(record.data() + 56, cdw14, 4);
    put(record.data() + 88, 0x1000, 4);
    return record;
}

}  // namespace

void put(std::uint8_t* place, std::uint64_t value, std::size_t width) {
    for (std::size_t i = 0; i < width; ++i) {
        place[i] = static_cast<std::uint8_t>(value >> (8 * i));
    }
}

std::string text(const Bytes& bytes, std::size_t offset, std::size_t width) {
    const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(offset);
    return {begin, begin + static_cast<std::ptrdiff_t>(width)};
}

int Opening::open(std::uint64_t* handle) {
    put(signature.data() + 72, withTable ? reinterpret_cast<std::uintptr_t>(table.data()) : 0, 8);
    return vmk_MgmtUserInit(signature.data(), cookie, handle);
}

Opening listOpening() {
    Opening result = opening("nvmeMgmt", 1);
    putRow(result.table.data(), 16, 5120, 1, 1);
    return result;
}

Opening adapterOpening(const std::string& signatureName) {
    Opening result = opening(signatureName, 2);
    putRow(result.table.data(), 16, 208, 0, 1);
    putRow(result.table.data() + 64, 17, 120, 0, 2);
    return result;
}

CommandRecord eventRead(std::uint32_t offset, std::uint32_t length) {
    CommandRecord record = vendorRead(0x4FE, length);
    put(record.data() + 40, 0x3FF, 4);
    put(record.data() + 52, offset, 4);
    return record;
}

CommandRecord diskRead(std::uint32_t id) {
    return vendorRead(0xE1, id);
}

CommandRecord volumeRead(std::uint32_t id) {
    return vendorRead(0xE2, id);
}

CommandRecord smartRead(std::uint32_t id) {
    CommandRecord record = {};
    put(record.data(), 0xC2, 1);
    put(record.data() + 4, id, 4);
    put(record.data() + 40, 0x007F0002, 4);
    put(record.data() + 56, 2, 4);
    put(record.data() + 60, 0xFFFFFFFF, 4);
    put(record.data() + 88, 0x200, 4);
    return record;
}

CommandRecord locate(std::uint32_t cdw14) {
    CommandRecord record = vendorRead(0x7E1, cdw14);
    put(record.data() + 40, 0, 4);
    put(record.data() + 88, 0, 4);
    return record;
}

Connection::Connection(const std::string& signatureName) {
    EXPECT_EQ(adapterOpening(signatureName).open(&m_handle), 0);
}

Connection::~Connection() {
    EXPECT_EQ(vmk_MgmtUserDestroy(m_handle), 0);
}

Result Connection::send(const CommandRecord& command, std::uint32_t request) {
    Result result;
    result.data.assign(4096, 0xA5);
    CommandRecord record = command;
    put(record.data() + 81, 1, 1);
    put(record.data() + 104, reinterpret_cast<std::uintptr_t>(result.data.data()), 8);
    result.code = vmk_MgmtUserCallbackInvokeInt(m_handle, 0, 17, 2, &request, record.data());
    result.status = static_cast<std::uint16_t>(record[78] | record[79] << 8U);
    return result;
}

Bytes Connection::area() {
    Bytes all;
    for (std::uint32_t offset = 0; offset < 0x10000; offset += 0x1000) {
        const Result page = send(eventRead(offset, 0x1000));
        EXPECT_EQ(page.code, 0);
        EXPECT_EQ(page.status, 1);
        all.insert(all.end(), page.data.begin(), page.data.end());
    }
    return all;
}

std::vector<std::string> Connection::readableLines() {
    std::vector<std::string> lines;
    for (std::uint32_t offset = 0; offset < 0x10000; offset += 0x1000) {
        const Result page = send(eventRead(offset, 0x1000));
        std::string line;
        for (std::size_t i = 40; i < 4096; ++i) {
            const char c = static_cast<char>(page.data[i]);
            if (c == '\n') {
                lines.push_back(line);
                line.clear();
            } else {
                line += c;
            }
        }
        if (line.find('[') == std::string::npos) {
            continue;
        }
        const Result carry = send(eventRead(offset + 0xFF8, 0x10));
        const std::string rest = text(carry.data, 8, 8);
        const std::size_t end = rest.find('\n');
        if (end != std::string::npos) {
            lines.push_back(line + rest.substr(0, end));
        }
    }
    return lines;
}

}  // namespace simtest
