#include "virtual_disks.h"

#include "reply.h"

#include <algorithm>

namespace vesksim {

std::vector<std::uint8_t> virtualDiskReply(const Adapter& adapter, std::uint32_t id,
                                           std::uint64_t noiseSeed) {
    Reply reply(4096, noiseSeed);
    const auto found = std::find_if(adapter.volumes.begin(), adapter.volumes.end(),
                                    [id](const Volume& volume) { return volume.id == id; });
    reply.put8(4, found == adapter.volumes.end() ? 1 : 0);
    if (found == adapter.volumes.end()) {
        reply.clear(8, 3);
        reply.clear(12, 2);
        reply.clear(16, 95);
        return reply.take();
    }
    reply.put16(8, found->vdId);
    reply.put8(10, found->status);
    reply.put8(12, found->raidMode);
    reply.put8(13, static_cast<std::uint8_t>(found->members.size()));
    reply.put64(16, found->size);
    // Places behind the last member keep their noise: only the first memberCount of them count.
    for (std::size_t i = 0; i < found->members.size(); ++i) {
        reply.put16(24 + 2 * i, found->members[i]);
    }
    reply.put16(90, found->stripeBlockSize);
    reply.put32(92, found->blockSize);
    reply.putText(96, 15, found->name, adapter.textPadding);
    return reply.take();
}

}  // namespace vesksim
