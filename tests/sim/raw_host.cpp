#include "raw_host.h"

#include "transport/vmk_mgmt.h"

#include <algorithm>

namespace simtest {

namespace {

// Little endian.
void put(std::uint8_t* place, std::uint64_t value, std::size_t width) {
    for (std::size_t i = 0; i < width; ++i) {
        place[i] = static_cast<std::uint8_t>(value >> (8 * i));
    }
}

void putCallback(Opening& opening, std::size_t offset, std::uint64_t id, std::uint32_t secondSize,
                 std::uint32_t firstType, std::uint32_t secondType) {
    std::uint8_t* row = opening.bytes.data() + offset;
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
    const std::string vendor = "VMware";
    Opening result;
    put(result.bytes.data(), 0x01000000, 4);
    std::copy(name.begin(), name.end(), result.bytes.begin() + 4);
    std::copy(vendor.begin(), vendor.end(), result.bytes.begin() + 36);
    put(result.bytes.data() + 68, callbacks, 4);
    return result;
}

// The dwords that a command sets, by their offset.
CommandRecord command(std::uint8_t opcode,
                      const std::vector<std::pair<std::size_t, std::uint32_t>>& dwords) {
    CommandRecord record = {opcode};
    for (const auto& [offset, value] : dwords) {
        put(record.data() + offset, value, 4);
    }
    return record;
}

}  // namespace

std::string text(const Bytes& bytes, std::size_t offset, std::size_t width) {
    const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(offset);
    return {begin, begin + static_cast<std::ptrdiff_t>(width)};
}

int Opening::open(std::uint64_t* handle) {
    const auto callbacks = reinterpret_cast<std::uintptr_t>(bytes.data() + kCallbacks);
    put(bytes.data() + 72, withCallbacks ? callbacks : 0, 8);
    return vmk_MgmtUserInit(bytes.data(), cookie, handle);
}

Opening listOpening() {
    Opening result = opening("nvmeMgmt", 1);
    putCallback(result, kCallbacks, 16, 5120, 1, 1);
    return result;
}

Opening adapterOpening(const std::string& signatureName) {
    Opening result = opening(signatureName, 2);
    putCallback(result, kCallbacks, 16, 208, 0, 1);
    putCallback(result, kSecondCallback, 17, 120, 0, 2);
    return result;
}

CommandRecord eventRead(std::uint32_t offset, std::uint32_t length) {
    return command(0xE2, {{40, 0x3FF}, {48, 0x4FE}, {52, offset}, {56, length}, {88, 0x1000}});
}

CommandRecord diskRead(std::uint32_t id) {
    return command(0xE2, {{40, 0x400}, {48, 0xE1}, {56, id}, {88, 0x1000}});
}

CommandRecord volumeRead(std::uint32_t id) {
    return command(0xE2, {{40, 0x400}, {48, 0xE2}, {56, id}, {88, 0x1000}});
}

CommandRecord smartRead(std::uint32_t id) {
    return command(0xC2, {{4, id}, {40, 0x007F0002}, {56, 2}, {60, 0xFFFFFFFF}, {88, 0x200}});
}

CommandRecord locate(std::uint32_t cdw14) {
    return command(0xE2, {{48, 0x7E1}, {56, cdw14}});
}

Connection::Connection(const std::string& signatureName) {
    EXPECT_EQ(adapterOpening(signatureName).open(&m_handle), 0);
}

Connection::~Connection() {
    EXPECT_EQ(vmk_MgmtUserDestroy(m_handle), 0);
}

Result Connection::send(const CommandRecord& command) {
    Result result;
    result.data.assign(4096, 0xA5);
    CommandRecord record = command;
    record[81] = 1;
    put(record.data() + 104, reinterpret_cast<std::uintptr_t>(result.data.data()), 8);
    std::uint32_t request = 1;
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

Lines readableLines(const Bytes& area) {
    Lines lines;
    for (std::size_t page = 0; page < area.size(); page += 4096) {
        std::string line;
        for (const char c : text(area, page + 40, 4056)) {
            if (c == '\n') {
                lines.push_back(line);
                line.clear();
            } else {
                line += c;
            }
        }
        if (line.find('[') == std::string::npos || page + 4096 == area.size()) {
            continue;
        }
        const std::string rest = text(area, page + 4096, 8);
        const std::size_t end = rest.find('\n');
        if (end != std::string::npos) {
            lines.push_back(line + rest.substr(0, end));
        }
    }
    return lines;
}

void RawHost::load(const vesksim::Scenario& scenario) {
    m_seconds = 0;
    host().load(scenario);
    host().setClock([this] { return m_seconds.load(); });
}

vesksim::Scenario withEvents(const std::vector<vesksim::EventEntry>& events,
                             const std::vector<vesksim::ScheduledEvent>& schedule) {
    vesksim::Scenario scenario;
    scenario.adapters[0].events = events;
    scenario.adapters[0].eventSchedule = schedule;
    return scenario;
}

}  // namespace simtest
