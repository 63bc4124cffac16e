#include "disks/virtual_disk_builder.h"

#include "api/error_state.h"
#include "api/zt_command.h"
#include "disks/disk_answer.h"
#include "disks/vd_info_builder.h"
#include "disks/vd_info_data.h"
#include "support/heap_record.h"
#include "support/log_line.h"
#include "support/trace.h"

#include <exception>
#include <new>
#include <vector>

namespace {

constexpr const char* kBuidInfo = "libVeskNvme: CVirtualDiskBuilder::buidInfo(): ";
constexpr const char* kSetSpecificParams =
    "libVeskNvme: CVirtualDiskBuilder::setSpecificParams(): ";

}  // namespace

CVirtualDiskBuilder::CVirtualDiskBuilder() {
    LOG_ENTRY;
    try {
        m_pDisks = std::make_unique<CVirtualDisk[]>(kMaxDisks);
    } catch (const std::bad_alloc& error) {
        stg::recordFailure(ERR_FAIL, error.what());
    }
    LOG_EXIT;
}

CVirtualDiskBuilder::~CVirtualDiskBuilder() {
    LOG_ENTRY;
    m_pDisks.reset();
    LOG_EXIT;
}

VOID_ CVirtualDiskBuilder::setSpecificParams(unsigned char commandId, void* param) {
    LOG_ENTRY;
    if (commandId == LD_GetInfo || commandId == LD_GetConfig) {
        stg::logLine(kSetSpecificParams, "Start of LD_GetInfo / LD_GetConfig case");
        const auto* const request = static_cast<const Info_Request*>(param);
        setRequestType(request->requestType);
        setVDId(request->id);
        stg::logLine(kSetSpecificParams, "End of LD_GetInfo / LD_GetConfig case");
    } else {
        stg::logLine(kSetSpecificParams, "Invalid Command ID");
    }
    LOG_EXIT;
}

// ODDITY: both commands close with a second "Start" line and have no "End"; the text of the log is
// fixed. Pinned by VirtualDiskBuilder.CommandsCloseWithASecondStartLine.
VOID_ CVirtualDiskBuilder::buidInfo(int commandId) {
    LOG_ENTRY;
    switch (commandId) {
    case LD_GetInfo:
        stg::logLine(kBuidInfo, "Start of LD_GetInfo case");
        getVDInfo();
        stg::logLine(kBuidInfo, "Start of LD_GetInfo case");
        break;
    case LD_GetConfig:
        stg::logLine(kBuidInfo, "Start of LD_GetConfig case");
        getVDConfig();
        stg::logLine(kBuidInfo, "Start of LD_GetConfig case");
        break;
    case GET_UsedRaidSpacePerPDInVD:
        getUsedRaidSpacePerPDInVD();
        break;
    default:
        stg::logLine(kBuidInfo, "Invalid command for VD");
        break;
    }
    LOG_EXIT;
}

IObject* CVirtualDiskBuilder::getObject() {
    return reinterpret_cast<IObject*>(m_pDisks.get());
}

VOID_ CVirtualDiskBuilder::getSpecificObject(unsigned int commandId, void* out) {
    LOG_ENTRY;
    const UCHAR_ count = getActiveVDCount();
    switch (commandId) {
    case LD_GetInfo:
        stg::deliverHeader(out, count, sizeof(VD_Info));
        for (UCHAR_ index = 0; index < count; ++index) {
            stg::deliverRecord(out, index, m_pDisks[index].getVDInfoStruct());
        }
        break;
    case LD_GetConfig:
        stg::deliverHeader(out, count, sizeof(VD_Config));
        for (UCHAR_ index = 0; index < count; ++index) {
            stg::deliverRecord(out, index, m_pDisks[index].getVDConfigStruct());
        }
        break;
    case GET_UsedRaidSpacePerPDInVD:
        for (UCHAR_ index = 0; index < count; ++index) {
            static_cast<std::vector<UsedSpacePerPDInVD>*>(out)->push_back(
                m_pDisks[index].getUsedSpacePerPDInVDStruct());
        }
        break;
    default:
        stg::logLine("libVeskNvme: CVirtualDiskBuilder::getSpecificObject: Invalid Command ID");
        break;
    }
    LOG_EXIT;
}

VOID_ CVirtualDiskBuilder::getVDInfo() {
    LOG_ENTRY;
    gatherAllOrOne("Invalid Request type for Get VD Info", &CVirtualDisk::setVDInfoAttributes);
    LOG_EXIT;
}

VOID_ CVirtualDiskBuilder::getVDConfig() {
    LOG_ENTRY;
    gatherAllOrOne("Invalid Request type for Get VD Config", &CVirtualDisk::setVDConfigAttributes);
    LOG_EXIT;
}

VOID_ CVirtualDiskBuilder::getUsedRaidSpacePerPDInVD() {
    LOG_ENTRY;
    try {
        gather(true, &CVirtualDisk::setAttributesForUsedSpacePerPDInVD);
    } catch (const std::bad_alloc& error) {
        stg::recordFailure(ERR_FAIL, error.what());
    }
    LOG_EXIT;
}

void CVirtualDiskBuilder::gatherAllOrOne(const char* complaint, Setter setter) {
    const bool all = getRequestType() == REQUEST_ALL;
    if (!all && getRequestType() != REQUEST_SINGLE) {
        stg::recordFailure(ERR_FAIL, complaint);
        return;
    }
    try {
        gather(all, setter);
    } catch (const std::exception& error) {
        stg::recordFailure(ERR_FAIL, error.what());
    }
}

// Asks for every virtual disk, or for the selected one, and fills an object of the array for each
// that exists. Throws std::bad_alloc.
void CVirtualDiskBuilder::gather(bool all, Setter setter) {
    const HeapRecord<_vdInfoData> disk = stg::allocateZeroed<_vdInfoData>();
    const UCHAR_ count = all ? kMaxDisks : 1;
    for (UCHAR_ id = 0; id < count; ++id) {
        *disk = {};
        disk->vdAbsent = 1;  // as which a command that could not be built then reads
        if (all) {
            setVDId(id);
        }
        getAttributesForOneVD(disk.get());
        if (disk->vdAbsent == 0 && m_pDisks) {
            (m_pDisks[m_activeVDCount].*setter)(disk.get());
            ++m_activeVDCount;
        }
    }
}

VOID_ CVirtualDiskBuilder::getAttributesForOneVD(_vdInfoData* out) {
    LOG_ENTRY;
    try {
        CVDInfoBuilder builder(getVDId());
        if (builder.buildCommand() == 0) {
            builder.execute();
            const auto* const reply =
                static_cast<const _vdInfoData*>(builder.getCCommandDwordObject()->getcdw_6_7());
            stg::logLine(
                "libVeskNvme: CVirtualDiskBuilder::getAttributesForOneVD: VD details: ID: ",
                reply->vdId);
            stg::logLine("libVeskNvme: CVirtualDiskBuilder::getAttributesForOneVD: LBA size: ",
                         reply->size);
            *out = *reply;
        }
    } catch (const std::bad_alloc& error) {
        stg::recordFailure(ERR_FAIL, error.what());
    }
    LOG_EXIT;
}

VOID_ CVirtualDiskBuilder::setActiveVDCount(unsigned char count) {
    m_activeVDCount = count;
}

unsigned char CVirtualDiskBuilder::getActiveVDCount() {
    return m_activeVDCount;
}

VOID_ CVirtualDiskBuilder::setVDId(unsigned char vdId) {
    m_vdId = vdId;
}

unsigned char CVirtualDiskBuilder::getVDId() {
    return m_vdId;
}

VOID_ CVirtualDiskBuilder::setRequestType(unsigned char requestType) {
    m_requestType = requestType;
}

unsigned char CVirtualDiskBuilder::getRequestType() {
    return m_requestType;
}
