#include "veskctl/health_reader.h"

#include "veskctl/disk_reader.h"
#include "veskctl/guarded.h"

#include <fmt/format.h>

namespace veskctl {

namespace {

// The library leaves the record of an absent disk as it was, and never writes 0 as the status of
// another.
bool wasWritten(const SMART_INFO_ARRAY& record) {
    return record.smartStatus != 0;
}

void readRecord(const LibraryFunctions& functions, const std::string& name, Health& health,
                std::vector<Problem>& problems) {
    SMART_INFO_ARRAY record = {};
    const UCHAR_ result =
        functions.diskHealth(0, static_cast<UCHAR_>(health.disk.slot), 0, &record);
    if (result != ERR_NONE) {
        problems.push_back(libraryCallFailed("ZT_PD_GET_SMART_INFO", result, name));
    }
    if (wasWritten(record)) {
        health.record = record;
    }
    if (result == ERR_NONE && !health.wear()) {
        problems.push_back({ProblemKind::DiskNotResponding,
                            fmt::format("{} did not answer the request for its health", name)});
    }
}

}  // namespace

Health readHealth(const LibraryFunctions& functions, unsigned slot,
                  std::vector<Problem>& problems) {
    Health health;
    health.disk.slot = slot;
    const std::string name = fmt::format("disk {}", slot);
    guarded(name, problems, [&] {
        // Asked for first, since a disk that does not answer would read as healthy.
        health.disk = readDiskInfo(functions, slot, problems);
        if (health.disk.presence == Presence::Present) {
            readRecord(functions, name, health, problems);
        }
    });
    return health;
}

}  // namespace veskctl
