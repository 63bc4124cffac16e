// A controller that answers any command, in any order: stands in the place of the library's talker
// and of the driver below it. Takes no memory while it answers. For one thread.
#pragma once

#include "disk_records.h"

#include "transport/vmware_device_talker.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace vesktest {

// What the controller knows. A command that is longer than its page gets zeros behind it.
struct ControllerPages {
    Bytes disks[2];    // by the low bit of the id
    Bytes volumes[2];  // likewise
    Bytes health;
};

// Two disks and two virtual disks, all present.
inline ControllerPages presentPages() {
    return {{diskPage(), secondDiskPage()}, {volumePage(), secondVolumePage()}, healthPage()};
}

class AnsweringController : public CVMWareZNVDeviceTalker {
public:
    explicit AnsweringController(const ControllerPages& pages) : m_pages(pages) {
        OS_OSTYPEPTR_PAIR.second = this;
    }
    ~AnsweringController() override { OS_OSTYPEPTR_PAIR.second = nullptr; }

    RESULT executeIOCTL(znvTalkerMulti* request) override {
        ++m_commandCount;
        const nvme_uio& command = *request->uio;
        const Bytes& page = pageFor(command);
        const std::size_t known = std::min<std::size_t>(command.dataLength, page.size());
        if (command.dataAddress != nullptr) {
            auto* const data = static_cast<std::uint8_t*>(command.dataAddress);
            std::memcpy(data, page.data(), known);
            std::memset(data + known, 0, command.dataLength - known);
        }
        return 0;
    }

    std::size_t commandCount() const { return m_commandCount; }

private:
    const Bytes& pageFor(const nvme_uio& command) const {
        if (command.opcode == 0xC2) {
            return m_pages.health;
        }
        const std::size_t target = command.cdw14 & 1;
        return command.cdw12 == 0xE1 ? m_pages.disks[target] : m_pages.volumes[target];
    }

    const ControllerPages& m_pages;
    std::size_t m_commandCount = 0;
};

}  // namespace vesktest
