#include "physical_disks.h"

#include "reply.h"

#include <algorithm>

namespace vesksim {

const Disk* findDisk(const Adapter& adapter, std::uint32_t id) {
    const auto found = std::find_if(adapter.disks.begin(), adapter.disks.end(),
                                    [id](const Disk& disk) { return disk.id == id; });
    return found == adapter.disks.end() ? nullptr : &*found;
}

std::vector<std::uint8_t> physicalDiskReply(const Adapter& adapter, std::uint32_t id,
                                            std::uint64_t noiseSeed) {
    Reply reply(4096, noiseSeed);
    const Disk* disk = findDisk(adapter, id);
    reply.put8(4, disk == nullptr ? 1 : 0);
    if (disk == nullptr) {
        reply.clear(8, 3);
        reply.clear(20, 72);
        reply.clear(96, 10);
        return reply.take();
    }
    reply.put16(8, disk->deviceId);
    reply.put8(10, disk->status);
    reply.putText(20, 40, disk->model, adapter.textPadding);
    reply.putText(60, 20, disk->serial, adapter.textPadding);
    reply.put32(80, disk->blockSize);
    reply.putText(84, 8, disk->firmware, adapter.textPadding);
    reply.put64(96, disk->size);
    reply.put16(104, disk->hdId);
    return reply.take();
}

}  // namespace vesksim
