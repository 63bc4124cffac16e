// Command 9: the health of one disk, from the controller's record of it and the disk's own page.
#include "disks/physical_disk_builder.h"

#include "api/error_state.h"
#include "disks/pd_info_data.h"
#include "disks/pdpt_log_builder.h"
#include "disks/smart_log_entry.h"
#include "support/heap_record.h"
#include "support/log_line.h"
#include "support/trace.h"

#include <new>
#include <stdexcept>

namespace {

constexpr UCHAR_ kSmartHealthPage = 2;
constexpr int kFreezingPoint = 273;  // kelvins

template <typename Record>
HeapRecord<Record> allocateOrComplain(const char* complaint) {
    HeapRecord<Record> record = tryAllocateZeroed<Record>();
    if (!record) {
        throw std::runtime_error(complaint);
    }
    return record;
}

void logPage(const _SMART_HEALTH_INFORMATION_LOG_ENTRY& page) {
    const int kelvins = page.temperature[0] | (page.temperature[1] << 8);
    stg::logLine("libVeskNvme: CPhysicalDiskBuilder::getSmartAttributesForOnePD(): PD details: "
                 "AvailableSpare: ",
                 page.availableSpare, ", AvailableSpareThreshold: ", page.availableSpareThreshold,
                 ", Temperature: ", kelvins - kFreezingPoint, " RRWE: ", page.percentageUsed);
}

}  // namespace

VOID_ CPhysicalDiskBuilder::getSmartInfo() {
    LOG_ENTRY;
    try {
        const auto disk = allocateOrComplain<_PDInfoData>("Failed to allocate pd info");
        disk->pdAbsent = 1;
        getAttributesForOnePD(disk.get());
        const auto page = allocateOrComplain<_SMART_HEALTH_INFORMATION_LOG_ENTRY>(
            "Failed to allocate smart info");
        // ODDITY: asked also of an absent disk; the controller sees both commands each time.
        // Pinned by DriveHealth.AbsentDiskLeavesTheRecordAfterTwoCommands.
        getSmartAttributesForOnePD(page.get());
        if (disk->pdAbsent == 0 && m_pDisks) {
            m_pDisks[0].setSmartInfoAttributes(disk.get(), page.get());
            setActivePDCount(1);
        }
    } catch (const std::exception& error) {
        recordFailure(error.what(), ERR_FAIL);
    }
    LOG_EXIT;
}

VOID_ CPhysicalDiskBuilder::getSmartAttributesForOnePD(_SMART_HEALTH_INFORMATION_LOG_ENTRY* out) {
    LOG_ENTRY;
    try {
        CPDPTLogBuilder builder(getPDId(), kSmartHealthPage);
        // A command that could not be built names no operation for the disk: it is not sent, and
        // the record of zeros stays.
        if (builder.buildCommand() == 0) {
            builder.execute();
            const auto page = readRecord<_SMART_HEALTH_INFORMATION_LOG_ENTRY>(
                builder.getCCommandDwordObject()->getcdw_6_7());
            logPage(page);
            *out = page;
        }
    } catch (const std::bad_alloc& error) {
        recordFailure(error.what(), ERR_FAIL);
    } catch (...) {
        recordFailure("Generic exception", ERR_FAIL);
    }
    LOG_EXIT;
}
