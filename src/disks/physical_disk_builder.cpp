#include "disks/physical_disk_builder.h"

#include "api/command_ids.h"
#include "api/error_state.h"
#include "disks/disk_walk.h"
#include "disks/pd_info_builder.h"
#include "disks/pd_info_data.h"
#include "support/log_line.h"
#include "support/trace.h"

#include <cstring>
#include <exception>
#include <new>
#include <stdexcept>

namespace {

const char* const kBuidInfo = "libVeskNvme: CPhysicalDiskBuilder::buidInfo(): ";
const char* const kGetSpecificObject = "libVeskNvme: CPhysicalDiskBuilder::getSpecificObject(): ";

std::unique_ptr<CPhysicalDisk[]> createDisks(std::size_t count) {
    try {
        return std::make_unique<CPhysicalDisk[]>(count);
    } catch (const std::bad_alloc& error) {
        recordFailure(error.what(), ERR_FAIL);
        return nullptr;
    }
}

}  // namespace

CPhysicalDiskBuilder::CPhysicalDiskBuilder()
    : m_activePDCount(0), m_pdId(0xFF), m_requestType(0xFF) {
    LOG_ENTRY;
    m_pDisks = createDisks(kMaxDisks);
    LOG_EXIT;
}

CPhysicalDiskBuilder::CPhysicalDiskBuilder(unsigned int /*commandId*/)
    : m_activePDCount(0), m_pdId(0xFF), m_requestType(0xFF) {
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
        deliverHeader(out, count, sizeof(PD_Info));
        for (UCHAR_ index = 0; index < count; ++index) {
            deliverRecord(out, index, m_pDisks[index].getPDInfoStruct());
        }
        stg::logLine(kGetSpecificObject, "End of PD_GetHDInfo_Ext case");
        break;
    case PD_GetConfig:
        stg::logLine(kGetSpecificObject, "Start of PD_GetConfig case");
        deliverHeader(out, count, sizeof(PD_Config));
        for (UCHAR_ index = 0; index < count; ++index) {
            deliverRecord(out, index, m_pDisks[index].getPDConfigStruct());
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
        deliverHeader(out, count, kNoRecordSize);
        if (count > 0) {
            deliverRecord(out, 0, m_pDisks[0].getPDRaidStatusStruct());
        }
        stg::logLine(kGetSpecificObject, "End of PD_GetHDRaidStatus case");
        break;
    case PD_GetFreeSpaceInfo:
        stg::logLine(kGetSpecificObject, "Start of PD_GetFreeSpaceInfo case");
        deliverHeader(out, count, kNoRecordSize);
        if (count > 0) {
            deliverRecord(out, 0, m_pDisks[0].getFreeSpaceStruct());
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

VOID_ CPhysicalDiskBuilder::getRaidStatus() {
    LOG_ENTRY;
    gatherOne("Invalid Request Type for Get Raid Status", &CPhysicalDisk::setRaidStatusAttributes,
              true);
    LOG_EXIT;
}

VOID_ CPhysicalDiskBuilder::getFreeSpaceInfo() {
    LOG_ENTRY;
    gatherOne("Invalid Request Type for getFreeSpaceInfo", &CPhysicalDisk::setFreeSpaceAttributes,
              false);
    LOG_EXIT;
}

// ODDITY: a bad request type is ERR_FAIL here and ERR_INVALID_REQUEST in the single-disk operations
// below: two sets of handlers that stay different. Pinned by
// PhysicalDiskCalls.BadRequestTypeHasTwoCodes.
void CPhysicalDiskBuilder::gatherAllOrOne(const char* complaint, Setter setter) {
    try {
        demandRequestType(getRequestType() == REQUEST_ALL || getRequestType() == REQUEST_SINGLE,
                          complaint);
        gather(getRequestType() == REQUEST_ALL, setter, false);
    } catch (const std::exception& error) {
        recordFailure(error.what(), ERR_FAIL);
    }
}

void CPhysicalDiskBuilder::gatherOne(const char* complaint, Setter setter, bool logsStatus) {
    try {
        demandRequestType(getRequestType() == REQUEST_SINGLE, complaint);
        gather(false, setter, logsStatus);
    } catch (const std::logic_error& error) {
        recordFailure(error.what(), ERR_INVALID_REQUEST);
    } catch (const std::exception& error) {
        recordFailure(error.what(), ERR_FAIL);
    }
}

void CPhysicalDiskBuilder::gather(bool all, Setter setter, bool logsStatus) {
    walkDisks(
        all, &_PDInfoData::pdAbsent, [this](UCHAR_ id) { setPDId(id); },
        [this](_PDInfoData* disk) { getAttributesForOnePD(disk); },
        [this, setter, logsStatus](_PDInfoData* disk) {
            if (logsStatus) {
                stg::logLine("CPhysicalDiskBuilder::getRaidStatus(): PD details: ID: ",
                             disk->deviceId, ", Status: ", disk->pdStatus);
            }
            if (m_pDisks) {
                (m_pDisks[m_activePDCount].*setter)(disk);
                ++m_activePDCount;
            }
        });
}

VOID_ CPhysicalDiskBuilder::getAttributesForOnePD(_PDInfoData* out) {
    LOG_ENTRY;
    try {
        CPDInfoBuilder builder(getPDId());
        if (builder.buildCommand() == 0) {
            builder.execute();
            const auto disk =
                readRecord<_PDInfoData>(builder.getCCommandDwordObject()->getcdw_6_7());
            stg::logLine(
                "libVeskNvme: CPhysicalDiskBuilder::getAttributesForOnePD(): PD details: ID: ",
                disk.deviceId);
            stg::logLine(
                "libVeskNvme: CPhysicalDiskBuilder::getAttributesForOnePD(): Model Number: ",
                stg::fieldText(disk.modelNumber));
            *out = disk;
        }
    } catch (const std::bad_alloc& error) {
        recordFailure(error.what(), ERR_FAIL);
    }
    LOG_EXIT;
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
