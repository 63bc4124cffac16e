// CController::firwareVer, which one call writes while another may read it: moved as the one number
// of 64 bits that it is, so that nobody sees half of a version.
#pragma once

#include "VeskNvme.h"

#include <cstdint>
#include <cstring>

namespace stg {

using VersionNumber = std::uint64_t __attribute__((may_alias));
static_assert(sizeof(VersionNumber) == sizeof(_PackageVersion), "one number");

// The variable is aligned for it where it is defined, which its type does not say.
inline VersionNumber* keptVersion() {
    return static_cast<VersionNumber*>(
        __builtin_assume_aligned(&CController::firwareVer, sizeof(VersionNumber)));
}

inline void keepFirmwareVersion(const _PackageVersion& version) {
    std::uint64_t number = 0;
    std::memcpy(&number, &version, sizeof(number));
    __atomic_store_n(keptVersion(), number, __ATOMIC_RELAXED);
}

inline _PackageVersion keptFirmwareVersion() {
    const std::uint64_t number = __atomic_load_n(keptVersion(), __ATOMIC_RELAXED);
    _PackageVersion version;
    std::memcpy(&version, &number, sizeof(version));
    return version;
}

}  // namespace stg
