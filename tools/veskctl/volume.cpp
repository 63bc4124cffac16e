#include "veskctl/volume.h"

#include <limits>

namespace veskctl {

namespace {

bool isBlank(const VD_Config& config) {
    return config.ldId == 0 && config.status == 0 && config.name[0] == '\0';
}

}  // namespace

bool isBlank(const VD_Info& info) {
    return info.id == 0 && info.hdCount == 0 && info.size == 0 && info.blockSize == 0 &&
           info.name[0] == '\0';
}

bool dropContradiction(Volume& volume) {
    if (!volume.info || !volume.config || !isBlank(*volume.config)) {
        return false;
    }
    const VD_Info& info = *volume.info;
    if (info.id == 0 && info.status == 0 && info.name[0] == '\0') {
        return false;
    }
    volume.config.reset();
    return true;
}

const char* raidLevel(unsigned raidMode) {
    switch (raidMode) {
    case 0:
        return "raid0";
    case 1:
        return "raid1";
    default:
        return nullptr;
    }
}

std::optional<std::uint64_t> capacityBytes(const VD_Info& info) {
    const std::uint64_t blockSize = info.blockSize;
    if (blockSize == 0 || info.size > std::numeric_limits<std::uint64_t>::max() / blockSize) {
        return std::nullopt;
    }
    return info.size * blockSize;
}

}  // namespace veskctl
