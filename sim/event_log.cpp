#include "event_log.h"

#include "reply.h"

#include <algorithm>

namespace vesksim {

namespace {

// Gives each line its place, as pieces that lie inside one page each.
template <typename Place>
std::size_t layOut(const std::vector<std::string>& lines, bool cut, Place place) {
    std::size_t position = EventLog::kHeaderBytes;
    for (const std::string& text : lines) {
        const std::string line = text + '\n';
        const std::size_t page = position / EventLog::kPageBytes * EventLog::kPageBytes;
        const std::size_t next = page + EventLog::kPageBytes;
        if (position + line.size() <= next) {
            place(position, line);
            position += line.size();
        } else if (cut) {
            const std::size_t head = next - position;
            place(position, line.substr(0, head));
            place(next, line.substr(head));
            position = next + std::max(line.size() - head, EventLog::kHeaderBytes);
        } else {
            place(next + EventLog::kHeaderBytes, line);
            position = next + EventLog::kHeaderBytes + line.size();
        }
        if (position % EventLog::kPageBytes == 0) {
            position += EventLog::kHeaderBytes;
        }
    }
    return position;
}

}  // namespace

EventLog::EventLog(const std::vector<std::string>& lines, bool cut, std::uint64_t noiseSeed)
    : m_area(kAreaBytes) {
    for (std::size_t page = 0; page < kAreaBytes; page += kPageBytes) {
        const std::vector<std::uint8_t> header = noise(kHeaderBytes, noiseSeed + page);
        std::copy(header.begin(), header.end(), m_area.begin() + static_cast<std::ptrdiff_t>(page));
    }
    layOut(lines, cut, [this](std::size_t position, const std::string& piece) {
        for (std::size_t i = 0; i < piece.size(); ++i) {
            m_area.at(position + i) = static_cast<std::uint8_t>(piece[i]);
        }
    });
}

std::size_t EventLog::room(const std::vector<std::string>& lines, bool cut) {
    std::size_t end = 0;
    layOut(lines, cut, [&end](std::size_t position, const std::string& piece) {
        end = position + piece.size();
    });
    return end;
}

std::vector<std::uint8_t> EventLog::read(std::uint32_t offset, std::size_t length) const {
    std::vector<std::uint8_t> bytes(length);
    if (offset < m_area.size()) {
        std::copy_n(m_area.begin() + static_cast<std::ptrdiff_t>(offset),
                    std::min(length, m_area.size() - offset), bytes.begin());
    }
    return bytes;
}

}  // namespace vesksim
