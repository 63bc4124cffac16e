// Where serial numbers stand in what the controller answers.
#pragma once

#include "transport/nvme_uio.h"

#include <cstddef>

namespace veskcap {

struct SerialPlace {
    std::size_t offset;
    std::size_t size;
};

constexpr SerialPlace kIdentifySerial = {4, 20};
constexpr SerialPlace kDiskSerial = {60, 20};

// The place in the reply to this command; null if it has none.
const SerialPlace* serialPlace(const nvme_uio& command);

bool readsEventLog(const nvme_uio& command);

// As the library sends them: who the controller is, and the record of a disk. 4096 bytes of buffer.
constexpr std::size_t kReplySize = 4096;
nvme_uio identifyCommand(void* buffer);
nvme_uio diskCommand(unsigned disk, void* buffer);

}  // namespace veskcap
