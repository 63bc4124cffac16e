// The share of a virtual disk that each of its members carries.
#include "disks/virtual_disk.h"

#include "api/error_state.h"
#include "disks/vd_info_data.h"
#include "support/log_line.h"
#include "support/trace.h"

#include <algorithm>

namespace {

const char* const kPrefix = "CVirtualDisk::setAttributesForUsedSpacePerPDInVD(): ";

constexpr UCHAR_ kMode0 = 0;
constexpr UCHAR_ kMode1 = 1;
constexpr UCHAR_ kMode15 = 15;  // treated as mode 0

}  // namespace

VOID_ CVirtualDisk::setVDIdForUsedSpacePerPDInVD(unsigned char vdId) {
    m_usedSpace.vdId = vdId;
}

unsigned char CVirtualDisk::getVDIdForUsedSpacePerPDInVD() {
    return m_usedSpace.vdId;
}

VOID_ CVirtualDisk::setPDIdsOfContainingPDs(unsigned char count, unsigned short* ids) {
    LOG_ENTRY;
    m_usedSpace.pdIds.reserve(m_usedSpace.pdIds.size() + count);
    for (unsigned char index = 0; index < count; ++index) {
        m_usedSpace.pdIds.push_back(static_cast<UCHAR_>(ids[index] & 0xFF));
    }
    if (stg::lout.isActive()) {
        stg::lout << "CVirtualDisk::setPDIdsOfContainingPDs(): Containing PD IDs: ";
        for (unsigned char index = 0; index < count; ++index) {
            stg::lout << ids[index] << " ";
        }
        stg::lout << '\n';
    }
    LOG_EXIT;
}

std::vector<UCHAR_> CVirtualDisk::getPDIdsOfContainingPDs() {
    return m_usedSpace.pdIds;
}

VOID_ CVirtualDisk::setUsedSizePerPD(unsigned long long size) {
    m_usedSpace.usedSize = size;
}

unsigned long long CVirtualDisk::getUsedSizePerPD() {
    return m_usedSpace.usedSize;
}

VOID_ CVirtualDisk::setAttributesForUsedSpacePerPDInVD(_vdInfoData* disk) {
    LOG_ENTRY;
    setVDIdForUsedSpacePerPDInVD(static_cast<UCHAR_>(disk->vdId & 0xFF));
    stg::logLine(kPrefix, "Raid Mode: ", disk->raidMode);
    if (disk->raidMode == kMode0 || disk->raidMode == kMode15) {
        if (disk->memberCount == 0) {
            // Also what the zeros of a failed command look like. Nothing to divide by: refused.
            stg::logLine(kPrefix, "No member disks, size not divided");
            VeskNVMeLibrary_Error::setErrorCode(ERR_FAIL);
        } else {
            // Unsigned division: the remainder is in no member's share.
            setUsedSizePerPD(disk->size / disk->memberCount);
            // ODDITY: the line says 0 for mode 15 too; the text of the log is fixed.
            // Pinned by SpacePerMember.ModeFifteenIsLoggedAsModeZero.
            stg::logLine(kPrefix, "Raid Mode is 0, Size: ", getUsedSizePerPD());
        }
    } else if (disk->raidMode == kMode1) {
        setUsedSizePerPD(disk->size);
        stg::logLine(kPrefix, "Raid Mode is 1, Size: ", getUsedSizePerPD());
    } else {
        stg::logLine(kPrefix, "Raid Mode not supported");
    }
    stg::logLine("CVirtualDisk::setAttributesForUsedSpacePerPDInVD():: Member disk count: ",
                 disk->memberCount);
    setPDIdsOfContainingPDs(std::min(disk->memberCount, kMaxMemberIds), disk->memberIds);
    LOG_EXIT;
}

UsedSpacePerPDInVD CVirtualDisk::getUsedSpacePerPDInVDStruct() {
    return m_usedSpace;
}
