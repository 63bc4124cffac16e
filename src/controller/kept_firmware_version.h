// CController::firwareVer, which one call writes while another may read it: moved as the one number
// of 64 bits that it is, so that nobody sees half of a version.
#pragma once

#include "VeskNvme.h"

#include <cstdint>
#include <cstring>

namespace stg {

using VersionNumber = std::uint64_t __attribute__((may_alias));
static_assert(sizeof(VersionNumber) == sizeof(_PackageVersion), "one number");

inline void keepFirmwareVersion(const _PackageVersion& version) {
    std::uint64_t number = 0;
    std::memcpy(&number, &version, sizeof(number));
    __atomic_store_n(reinterpret_cast<VersionNumber*>(&CController::firwareVer), number,
                     __ATOMIC_RELAXED);
}

inline _PackageVersion keptFirmwareVersion() {
    const std::uint64_t number = __atomic_load_n(
        reinterpret_cast<const VersionNumber*>(&CController::firwareVer), __ATOMIC_RELAXED);
    _PackageVersion version;
    std::memcpy(&version, &number, sizeof(version));
    return version;
}

}  // namespace stg
