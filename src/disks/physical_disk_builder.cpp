#include "disks/physical_disk_builder.h"

#include "api/command_handler.h"
#include "api/error_state.h"
#include "disks/disk_answer.h"
#include "disks/pd_info_builder.h"
#include "disks/pd_info_data.h"
#include "disks/pdpt_log_builder.h"
#include "disks/smart_log_entry.h"
#include "disks/used_space_per_pd.h"
#include "support/heap_record.h"
#include "support/log_line.h"
#include "support/trace.h"

#include <cstring>
#include <exception>
#include <memory>
#include <new>
#include <stdexcept>
#include <utility>
#include <vector>

namespace {

constexpr const char* kBuidInfo = "libVeskNvme: CPhysicalDiskBuilder::buidInfo(): ";
constexpr const char* kGetSpecificObject =
    "libVeskNvme: CPhysicalDiskBuilder::getSpecificObject(): ";

constexpr UCHAR_ kSmartHealthPage = 2;
constexpr int kFreezingPoint = 273;  // kelvins

std::unique_ptr<CPhysicalDisk[]> createDisks(std::size_t count) {
    try {
        return std::make_unique<CPhysicalDisk[]>(count);
    } catch (const std::bad_alloc& error) {
        stg::recordFailure(ERR_FAIL, error.what());
        return nullptr;
    }
}

// The controller's record of the one disk that the request names; null, logged and in the error
// state, for a request that names none, and null for a disk that is absent.
HeapRecord<_PDInfoData> presentDisk(CPhysicalDiskBuilder& builder, const char* complaint) {
    if (builder.getRequestType() != REQUEST_SINGLE) {
        stg::recordFailure(ERR_INVALID_REQUEST, complaint);
        return nullptr;
    }
    try {
        HeapRecord<_PDInfoData> disk = stg::allocateZeroed<_PDInfoData>();
        disk->pdAbsent = 1;
        builder.getAttributesForOnePD(disk.get());
        return disk->pdAbsent == 0 ? std::move(disk) : nullptr;
    } catch (const std::exception& error) {
        stg::recordFailure(ERR_FAIL, error.what());
        return nullptr;
    }
}

template <typename Record>
HeapRecord<Record> allocateOrComplain(const char* complaint) {
    HeapRecord<Record> record = stg::tryAllocateZeroed<Record>();
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

CPhysicalDiskBuilder::CPhysicalDiskBuilder() {
    LOG_ENTRY;
    m_pDisks = createDisks(kMaxDisks);
    LOG_EXIT;
}

CPhysicalDiskBuilder::CPhysicalDiskBuilder(unsigned int /*commandId*/) {
    LOG_ENTRY;
    m_pDisks = createDisks(1);
    LOG_EXIT;
}

CPhysicalDiskBuilder::~CPhysicalDiskBuilder() {
    LOG_ENTRY;
    m_pDisks.reset();
    LOG_EXIT;
}

VOID_ CPhysicalDiskBuilder::setSpecificParams(unsigned char commandId, void* param) {
    LOG_ENTRY;
    switch (commandId) {
    case PD_GetHDInfo_Ext:
    case PD_GetConfig:
    case PD_GetHDRaidStatus:
    case PD_GetFreeSpaceInfo: {
        const auto* const request = static_cast<const Info_Request*>(param);
        setRequestType(request->requestType);
        setPDId(request->id);
        break;
    }
    case PD_GET_SMART_INFO:
        setPDId(*static_cast<const UCHAR_*>(param));
        break;
    default:
        stg::logLine("libVeskNvme: CPhysicalDiskBuilder::setSpecificParams(): Invalid Command ID");
        break;
    }
    LOG_EXIT;
}

// ODDITY: the frame lines are uneven here and below: none for the free space, health that ends with
// a second "Start", a configuration that never ends. The text of the log is fixed. Pinned by
// PhysicalDiskBuilder.FrameLinesAreUneven.
VOID_ CPhysicalDiskBuilder::buidInfo(int commandId) {
    LOG_ENTRY;
    switch (commandId) {
    case PD_GetHDInfo_Ext:
        stg::logLine(kBuidInfo, "Start of PD_GetHDInfo_Ext case");
        getPDInfo();
        stg::logLine(kBuidInfo, "End of PD_GetHDInfo_Ext case");
        break;
    case PD_GetConfig:
        stg::logLine(kBuidInfo, "Start of PD_GetConfig case");
        getPDConfig();
        stg::logLine(kBuidInfo, "End of PD_GetConfig case");
        break;
    case PD_GET_SMART_INFO:
        stg::logLine(kBuidInfo, "Start of PD_GET_SMART_INFO case");
        getSmartInfo();
        stg::logLine(kBuidInfo, "Start of PD_GET_SMART_INFO case");
        break;
    case PD_GetHDRaidStatus:
        stg::logLine(kBuidInfo, "Start of PD_GetHDRaidStatus case");
        getRaidStatus();
        stg::logLine(kBuidInfo, "End of PD_GetHDRaidStatus case");
        break;
    case PD_GetFreeSpaceInfo:
        getFreeSpaceInfo();
        break;
    default:
        stg::logLine(kBuidInfo, "Invalid command for PD");
        break;
    }
    LOG_EXIT;
}

IObject* CPhysicalDiskBuilder::getObject() {
    return reinterpret_cast<IObject*>(m_pDisks.get());
}

VOID_ CPhysicalDiskBuilder::getSpecificObject(unsigned int commandId, void* out) {
    LOG_ENTRY;
    const UCHAR_ count = getActivePDCount();
    switch (commandId) {
    case PD_GetHDInfo_Ext:
        stg::logLine(kGetSpecificObject, "Start of PD_GetHDInfo_Ext case");
        stg::deliverHeader(out, count, sizeof(PD_Info));
        for (UCHAR_ index = 0; index < count; ++index) {
            stg::deliverRecord(out, index, m_pDisks[index].getPDInfoStruct());
        }
        stg::logLine(kGetSpecificObject, "End of PD_GetHDInfo_Ext case");
        break;
    case PD_GetConfig:
        stg::logLine(kGetSpecificObject, "Start of PD_GetConfig case");
        stg::deliverHeader(out, count, sizeof(PD_Config));
        for (UCHAR_ index = 0; index < count; ++index) {
            stg::deliverRecord(out, index, m_pDisks[index].getPDConfigStruct());
        }
        break;
    case PD_GET_SMART_INFO:
        stg::logLine(kGetSpecificObject, "Start of PD_GET_SMART_INFO case");
        if (count > 0) {
            std::memcpy(out, m_pDisks[0].getPDSmartInfoStruct(), sizeof(SMART_INFO_ARRAY));
        }
        stg::logLine(kGetSpecificObject, "End of PD_GET_SMART_INFO case");
        break;
    case PD_GetHDRaidStatus:
        stg::logLine(kGetSpecificObject, "Start of PD_GetHDRaidStatus case");
        stg::deliverHeader(out, count, kNoRecordSize);
        if (count > 0) {
            stg::deliverRecord(out, 0, m_pDisks[0].getPDRaidStatusStruct());
        }
        stg::logLine(kGetSpecificObject, "End of PD_GetHDRaidStatus case");
        break;
    case PD_GetFreeSpaceInfo:
        stg::logLine(kGetSpecificObject, "Start of PD_GetFreeSpaceInfo case");
        stg::deliverHeader(out, count, kNoRecordSize);
        if (count > 0) {
            stg::deliverRecord(out, 0, m_pDisks[0].getFreeSpaceStruct());
        }
        stg::logLine(kGetSpecificObject, "End of PD_GetFreeSpaceInfo case");
        break;
    default:
        stg::logLine("libVeskNvme: CPhysicalDiskBuilder::getSpecificObject: Invalid Command ID");
        break;
    }
    LOG_EXIT;
}

VOID_ CPhysicalDiskBuilder::getPDInfo() {
    LOG_ENTRY;
    gatherAllOrOne("Invalid Request type for Get PD Info", &CPhysicalDisk::setPDInfoAttributes);
    LOG_EXIT;
}

VOID_ CPhysicalDiskBuilder::getPDConfig() {
    LOG_ENTRY;
    gatherAllOrOne("Invalid Request type for Get PD Config", &CPhysicalDisk::setPDConfigAttributes);
    LOG_EXIT;
}

// ODDITY: a bad request type is ERR_FAIL here and ERR_INVALID_REQUEST in the operations that want a
// single disk: two sets of handlers that stay different. Pinned by
// PhysicalDiskCalls.BadRequestTypeHasTwoCodes.
void CPhysicalDiskBuilder::gatherAllOrOne(const char* complaint, Setter setter) {
    const bool all = getRequestType() == REQUEST_ALL;
    if (!all && getRequestType() != REQUEST_SINGLE) {
        stg::recordFailure(ERR_FAIL, complaint);
        return;
    }
    try {
        const HeapRecord<_PDInfoData> disk = stg::allocateZeroed<_PDInfoData>();
        const UCHAR_ count = all ? kMaxDisks : 1;
        for (UCHAR_ id = 0; id < count; ++id) {
            *disk = {};
            disk->pdAbsent = 1;  // as which a command that could not be built then reads
            if (all) {
                setPDId(id);
            }
            getAttributesForOnePD(disk.get());
            if (disk->pdAbsent == 0 && m_pDisks) {
                (m_pDisks[m_activePDCount].*setter)(disk.get());
                ++m_activePDCount;
            }
        }
    } catch (const std::exception& error) {
        stg::recordFailure(ERR_FAIL, error.what());
    }
}

VOID_ CPhysicalDiskBuilder::getRaidStatus() {
    LOG_ENTRY;
    const auto disk = presentDisk(*this, "Invalid Request Type for Get Raid Status");
    if (disk) {
        stg::logLine("CPhysicalDiskBuilder::getRaidStatus(): PD details: ID: ", disk->deviceId,
                     ", Status: ", disk->pdStatus);
    }
    if (disk && m_pDisks) {
        m_pDisks[0].setRaidStatusAttributes(disk.get());
        ++m_activePDCount;
    }
    LOG_EXIT;
}

VOID_ CPhysicalDiskBuilder::getFreeSpaceInfo() {
    LOG_ENTRY;
    const auto disk = presentDisk(*this, "Invalid Request Type for getFreeSpaceInfo");
    if (disk && m_pDisks) {
        m_pDisks[0].setFreeSpaceAttributes(disk.get());
        ++m_activePDCount;
    }
    LOG_EXIT;
}

VOID_ CPhysicalDiskBuilder::getAttributesForOnePD(_PDInfoData* out) {
    LOG_ENTRY;
    try {
        CPDInfoBuilder builder(getPDId());
        if (builder.buildCommand() == 0) {
            builder.execute();
            const auto* const reply =
                static_cast<const _PDInfoData*>(builder.getCCommandDwordObject()->getcdw_6_7());
            stg::logLine(
                "libVeskNvme: CPhysicalDiskBuilder::getAttributesForOnePD(): PD details: ID: ",
                reply->deviceId);
            stg::logLine(
                "libVeskNvme: CPhysicalDiskBuilder::getAttributesForOnePD(): Model Number: ",
                stg::fieldText(reply->modelNumber));
            *out = *reply;
        }
    } catch (const std::bad_alloc& error) {
        stg::recordFailure(ERR_FAIL, error.what());
    }
    LOG_EXIT;
}

VOID_ CPhysicalDiskBuilder::getSmartInfo() {
    LOG_ENTRY;
    try {
        const HeapRecord<_PDInfoData> disk =
            allocateOrComplain<_PDInfoData>("Failed to allocate pd info");
        disk->pdAbsent = 1;
        getAttributesForOnePD(disk.get());
        const HeapRecord<_SMART_HEALTH_INFORMATION_LOG_ENTRY> page =
            allocateOrComplain<_SMART_HEALTH_INFORMATION_LOG_ENTRY>(
                "Failed to allocate smart info");
        // ODDITY: asked also of an absent disk; the controller sees both commands each time.
        // Pinned by DriveHealth.AbsentDiskLeavesTheRecordAfterTwoCommands.
        getSmartAttributesForOnePD(page.get());
        if (disk->pdAbsent == 0 && m_pDisks) {
            m_pDisks[0].setSmartInfoAttributes(disk.get(), page.get());
            setActivePDCount(1);
        }
    } catch (const std::exception& error) {
        stg::recordFailure(ERR_FAIL, error.what());
    }
    LOG_EXIT;
}

VOID_ CPhysicalDiskBuilder::getSmartAttributesForOnePD(_SMART_HEALTH_INFORMATION_LOG_ENTRY* out) {
    LOG_ENTRY;
    std::unique_ptr<CPDPTLogBuilder> builder;
    try {
        builder = std::make_unique<CPDPTLogBuilder>(getPDId(), kSmartHealthPage);
        // A command that could not be built names no operation for the disk: it is not sent, and
        // the record of zeros stays.
        if (builder->buildCommand() == 0) {
            builder->execute();
            const auto* const reply = static_cast<const _SMART_HEALTH_INFORMATION_LOG_ENTRY*>(
                builder->getCCommandDwordObject()->getcdw_6_7());
            logPage(*reply);
            *out = *reply;
        }
    } catch (const std::bad_alloc& error) {
        stg::recordFailure(ERR_FAIL, error.what());
    } catch (...) {
        stg::recordFailure(ERR_FAIL, "Generic exception");
    }
    builder.reset();
    LOG_EXIT;
}

// An upward call, on purpose: virtual disks are asked for by a command of the dispatcher like any
// other.
RESULT CPhysicalDiskBuilder::getUsedSpaceForPDinVD(unsigned long long* used) {
    LOG_ENTRY;
    RESULT result = 1;
    try {
        const auto disks = std::make_unique<std::vector<UsedSpacePerPDInVD>>();
        stg::dispatch(GET_UsedRaidSpacePerPDInVD, disks.get());
        for (const UsedSpacePerPDInVD& disk : *disks) {
            stg::logLine("CPhysicalDiskBuilder::getUsedSpaceForPDinVD(): No of PDs in VD: ",
                         disk.pdIds.size());
            for (const UCHAR_ member : disk.pdIds) {
                if (member == getPDId()) {
                    *used += disk.usedSize;
                    stg::logLine("CPhysicalDiskBuilder::getUsedSpaceForPDinVD(): Found PD Id with "
                                 "used size: ",
                                 disk.usedSize);
                    result = 0;
                }
            }
        }
    } catch (const std::bad_alloc& error) {
        stg::recordFailure(ERR_FAIL, error.what());
    }
    LOG_EXIT;
    return result;
}

VOID_ CPhysicalDiskBuilder::setActivePDCount(unsigned char count) {
    m_activePDCount = count;
}

unsigned char CPhysicalDiskBuilder::getActivePDCount() {
    return m_activePDCount;
}

VOID_ CPhysicalDiskBuilder::setPDId(unsigned char pdId) {
    m_pdId = pdId;
}

unsigned char CPhysicalDiskBuilder::getPDId() {
    return m_pdId;
}

VOID_ CPhysicalDiskBuilder::setRequestType(unsigned char requestType) {
    m_requestType = requestType;
}

unsigned char CPhysicalDiskBuilder::getRequestType() {
    return m_requestType;
}
