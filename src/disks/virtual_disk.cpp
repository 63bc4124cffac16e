#include "disks/virtual_disk.h"

#include "api/error_state.h"
#include "disks/text_field.h"
#include "disks/vd_info_data.h"
#include "support/log_line.h"
#include "support/trace.h"

#include <algorithm>

namespace {

constexpr const char* kSpacePrefix = "CVirtualDisk::setAttributesForUsedSpacePerPDInVD(): ";

// The RAID modes that the accounting of space tells apart.
enum RaidMode : UCHAR_ {
    kRaidMode0 = 0,
    kRaidMode1 = 1,
    kRaidMode15 = 15,  // has no name here, and is treated as mode 0
};

}  // namespace

CVirtualDisk::CVirtualDisk() : m_info(), m_config(), m_usedSpace() {
    LOG_ENTRY;
    LOG_EXIT;
}

// ODDITY: copying clears, assigning and the two operations behind it do nothing; the records leave
// as bytes only. Pinned by VirtualDisk.CopyIsClearedAndAssignmentChangesNothing.
CVirtualDisk::CVirtualDisk(const CVirtualDisk& /*other*/) : m_info(), m_config(), m_usedSpace() {
    LOG_ENTRY;
    LOG_EXIT;
}

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): nothing is assigned
CVirtualDisk& CVirtualDisk::operator=(CVirtualDisk& /*other*/) {
    LOG_ENTRY;
    LOG_EXIT;
    return *this;
}

VOID_ CVirtualDisk::copyAttributes(const CVirtualDisk& /*other*/) {}

VOID_ CVirtualDisk::logAttributes() {}

VOID_ CVirtualDisk::setID(unsigned short value) {
    m_info.id = value;
}

unsigned short CVirtualDisk::getID() {
    return m_info.id;
}

VOID_ CVirtualDisk::setStatus(unsigned char value) {
    m_info.status = value;
}

unsigned char CVirtualDisk::getStatus() {
    return m_info.status;
}

VOID_ CVirtualDisk::setStripeBlockSize(unsigned short value) {
    m_info.stripeBlockSize = value;
}

unsigned short CVirtualDisk::getStripeBlockSize() {
    return m_info.stripeBlockSize;
}

VOID_ CVirtualDisk::setRaidMode(unsigned char value) {
    m_info.raidMode = value;
}

unsigned char CVirtualDisk::getRaidMode() {
    return m_info.raidMode;
}

VOID_ CVirtualDisk::setHDCount(unsigned char value) {
    m_info.hdCount = value;
}

unsigned char CVirtualDisk::getHDCount() {
    return m_info.hdCount;
}

VOID_ CVirtualDisk::setCacheMode(unsigned char value) {
    m_info.cacheMode = value;
}

unsigned char CVirtualDisk::getCacheMode() {
    return m_info.cacheMode;
}

VOID_ CVirtualDisk::setSize(unsigned long long value) {
    m_info.size = value;
}

unsigned long long CVirtualDisk::getSize() {
    return m_info.size;
}

VOID_ CVirtualDisk::setName(unsigned char* text) {
    stg::copyText(m_info.name, text);
}

char* CVirtualDisk::getName() {
    return m_info.name;
}

VOID_ CVirtualDisk::setBlockSize(unsigned int value) {
    m_info.blockSize = value;
}

unsigned int CVirtualDisk::getBlockSize() {
    return m_info.blockSize;
}

VOID_ CVirtualDisk::setCacheModeForVDConfig(unsigned char value) {
    m_config.cacheMode = value;
}

unsigned char CVirtualDisk::getCacheModeForVDConfig() {
    return m_config.cacheMode;
}

VOID_ CVirtualDisk::setHypperWaterMark(unsigned char value) {
    m_config.hypperWaterMark = value;
}

unsigned char CVirtualDisk::getHypperWaterMark() {
    return m_config.hypperWaterMark;
}

VOID_ CVirtualDisk::setAutoRebuildOn(unsigned char value) {
    m_config.autoRebuildOn = value;
}

unsigned char CVirtualDisk::getAutoRebuildOn() {
    return m_config.autoRebuildOn;
}

VOID_ CVirtualDisk::setStatusForVDConfig(unsigned char value) {
    m_config.status = value;
}

unsigned char CVirtualDisk::getStatusForVDConfig() {
    return m_config.status;
}

VOID_ CVirtualDisk::setLDId(unsigned short value) {
    m_config.ldId = value;
}

unsigned short CVirtualDisk::getLDId() {
    return m_config.ldId;
}

VOID_ CVirtualDisk::setHyperRebuildMode(unsigned char value) {
    m_config.hyperRebuildMode = value;
}

unsigned char CVirtualDisk::getHyperRebuildMode() {
    return m_config.hyperRebuildMode;
}

VOID_ CVirtualDisk::setNameForVDConfig(unsigned char* text) {
    stg::copyText(m_config.name, text);
}

char* CVirtualDisk::getNameForVDConfig() {
    return m_config.name;
}

VOID_ CVirtualDisk::setVDIdForUsedSpacePerPDInVD(unsigned char vdId) {
    m_usedSpace.vdId = vdId;
}

unsigned char CVirtualDisk::getVDIdForUsedSpacePerPDInVD() {
    return m_usedSpace.vdId;
}

VOID_ CVirtualDisk::setPDIdsOfContainingPDs(unsigned char count, unsigned short* ids) {
    LOG_ENTRY;
    stg::lout << "CVirtualDisk::setPDIdsOfContainingPDs(): Containing PD IDs: ";
    for (unsigned char index = 0; index < count; ++index) {
        stg::lout << ids[index] << " ";
        m_usedSpace.pdIds.push_back(static_cast<UCHAR_>(ids[index] & 0xFF));
    }
    stg::lout << '\n';
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

VOID_ CVirtualDisk::setVDInfoAttributes(_vdInfoData* disk) {
    LOG_ENTRY;
    setID(disk->vdId);
    setStatus(disk->vdStatus);
    setStripeBlockSize(disk->stripeBlockSize);
    setRaidMode(disk->raidMode);
    setHDCount(disk->memberCount);
    setCacheMode(1);
    setSize(disk->size);
    setName(stg::asBytes(disk->vdName));
    setBlockSize(disk->blockSize);
    LOG_EXIT;
}

VOID_ CVirtualDisk::setVDConfigAttributes(_vdInfoData* disk) {
    LOG_ENTRY;
    // ODDITY: sets the cache mode of the other record, so the configuration that goes out shows 0
    // where the information shows 1. Pinned by VirtualDisk.ConfigurationShowsCacheModeZero.
    setCacheMode(1);
    setHypperWaterMark(0);
    setAutoRebuildOn(1);
    setStatusForVDConfig(disk->vdStatus);
    setLDId(disk->vdId);
    setHyperRebuildMode(0);
    setNameForVDConfig(stg::asBytes(disk->vdName));
    LOG_EXIT;
}

VOID_ CVirtualDisk::setAttributesForUsedSpacePerPDInVD(_vdInfoData* disk) {
    LOG_ENTRY;
    setVDIdForUsedSpacePerPDInVD(static_cast<UCHAR_>(disk->vdId & 0xFF));
    stg::logLine(kSpacePrefix, "Raid Mode: ", disk->raidMode);
    switch (disk->raidMode) {
    case kRaidMode0:
    case kRaidMode15:
        if (disk->memberCount == 0) {
            // Also what the zeros of a failed command look like. Nothing to divide by: refused.
            stg::recordFailure(ERR_FAIL, kSpacePrefix, "No member disks, size not divided");
            break;
        }
        // Unsigned division: the remainder is in no member's share.
        setUsedSizePerPD(disk->size / disk->memberCount);
        // ODDITY: the line says 0 for mode 15 too; the text of the log is fixed.
        // Pinned by SpacePerMember.ModeFifteenIsLoggedAsModeZero.
        stg::logLine(kSpacePrefix, "Raid Mode is 0, Size: ", getUsedSizePerPD());
        break;
    case kRaidMode1:
        setUsedSizePerPD(disk->size);
        stg::logLine(kSpacePrefix, "Raid Mode is 1, Size: ", getUsedSizePerPD());
        break;
    default:
        stg::logLine(kSpacePrefix, "Raid Mode not supported");
        break;
    }
    stg::logLine("CVirtualDisk::setAttributesForUsedSpacePerPDInVD():: Member disk count: ",
                 disk->memberCount);
    setPDIdsOfContainingPDs(std::min(disk->memberCount, kMaxMemberIds), disk->memberIds);
    LOG_EXIT;
}

PVD_Info CVirtualDisk::getVDInfoStruct() {
    return &m_info;
}

PVD_Config CVirtualDisk::getVDConfigStruct() {
    return &m_config;
}

UsedSpacePerPDInVD CVirtualDisk::getUsedSpacePerPDInVDStruct() {
    return m_usedSpace;
}
