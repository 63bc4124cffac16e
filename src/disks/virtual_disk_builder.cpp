#include "disks/virtual_disk_builder.h"

#include "api/command_ids.h"
#include "api/error_state.h"
#include "disks/disk_walk.h"
#include "disks/vd_info_builder.h"
#include "disks/vd_info_data.h"
#include "support/log_line.h"
#include "support/trace.h"

#include <exception>
#include <new>
#include <vector>

namespace {

const char* const kBuidInfo = "libVeskNvme: CVirtualDiskBuilder::buidInfo(): ";
const char* const kSetSpecificParams = "libVeskNvme: CVirtualDiskBuilder::setSpecificParams(): ";

}  // namespace

CVirtualDiskBuilder::CVirtualDiskBuilder() : m_activeVDCount(0), m_vdId(0xFF), m_requestType(0xFF) {
    LOG_ENTRY;
    try {
        m_pDisks = std::make_unique<CVirtualDisk[]>(kMaxDisks);
    } catch (const std::bad_alloc& error) {
        recordFailure(error.what(), ERR_FAIL);
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
        deliverHeader(out, count, sizeof(VD_Info));
        for (UCHAR_ index = 0; index < count; ++index) {
            deliverRecord(out, index, m_pDisks[index].getVDInfoStruct());
        }
        break;
    case LD_GetConfig:
        deliverHeader(out, count, sizeof(VD_Config));
        for (UCHAR_ index = 0; index < count; ++index) {
            deliverRecord(out, index, m_pDisks[index].getVDConfigStruct());
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
        recordFailure(error.what(), ERR_FAIL);
    }
    LOG_EXIT;
}

void CVirtualDiskBuilder::gatherAllOrOne(const char* complaint, Setter setter) {
    try {
        demandRequestType(getRequestType() == REQUEST_ALL || getRequestType() == REQUEST_SINGLE,
                          complaint);
        gather(getRequestType() == REQUEST_ALL, setter);
    } catch (const std::exception& error) {
        recordFailure(error.what(), ERR_FAIL);
    }
}

void CVirtualDiskBuilder::gather(bool all, Setter setter) {
    walkDisks(
        all, &_vdInfoData::vdAbsent, [this](UCHAR_ id) { setVDId(id); },
        [this](_vdInfoData* disk) { getAttributesForOneVD(disk); },
        [this, setter](_vdInfoData* disk) {
            if (m_pDisks) {
                (m_pDisks[m_activeVDCount].*setter)(disk);
                ++m_activeVDCount;
            }
        });
}

VOID_ CVirtualDiskBuilder::getAttributesForOneVD(_vdInfoData* out) {
    LOG_ENTRY;
    try {
        CVDInfoBuilder builder(getVDId());
        if (builder.buildCommand() == 0) {
            builder.execute();
            const auto disk =
                readRecord<_vdInfoData>(builder.getCCommandDwordObject()->getcdw_6_7());
            stg::logLine(
                "libVeskNvme: CVirtualDiskBuilder::getAttributesForOneVD: VD details: ID: ",
                disk.vdId);
            stg::logLine("libVeskNvme: CVirtualDiskBuilder::getAttributesForOneVD: LBA size: ",
                         disk.size);
            *out = disk;
        }
    } catch (const std::bad_alloc& error) {
        recordFailure(error.what(), ERR_FAIL);
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
