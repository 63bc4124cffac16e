#include "disks/physical_disk.h"

#include "disks/pd_info_data.h"
#include "disks/smart_log_entry.h"
#include "disks/text_field.h"
#include "support/log_line.h"
#include "support/trace.h"

#include <cstring>

namespace {

// Health states of SMART_INFO_ARRAY.
constexpr UCHAR_ kStatusBitClear = 0x4F;
constexpr UCHAR_ kStatusBitSet = 1;

}  // namespace

CPhysicalDisk::CPhysicalDisk() {
    LOG_ENTRY;
    // All five records at once.
    std::memset(static_cast<void*>(this), 0, sizeof(*this));
    LOG_EXIT;
}

// ODDITY: copying clears and assigning does nothing: the records leave as bytes only, and nothing
// here copies a disk. Pinned by PhysicalDisk.CopyIsClearedAndAssignmentChangesNothing.
CPhysicalDisk::CPhysicalDisk(const CPhysicalDisk& /*other*/) {
    LOG_ENTRY;
    std::memset(static_cast<void*>(this), 0, sizeof(*this));
    LOG_EXIT;
}

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): nothing is assigned
CPhysicalDisk& CPhysicalDisk::operator=(CPhysicalDisk& /*other*/) {
    LOG_ENTRY;
    LOG_EXIT;
    return *this;
}

VOID_ CPhysicalDisk::setDevID(unsigned int value) {
    m_info.deviceId = static_cast<USHORT_INT>(value);
}

unsigned int CPhysicalDisk::getDevID() {
    return m_info.deviceId;
}

VOID_ CPhysicalDisk::setSASAddress() {
    std::memcpy(m_info.sasAddress, "0xfffff", 7);
}

char* CPhysicalDisk::getSASAddress() {
    return m_info.sasAddress;
}

VOID_ CPhysicalDisk::setHDType(unsigned char value) {
    m_info.hdType = value;
}

unsigned char CPhysicalDisk::getHDType() {
    return m_info.hdType;
}

VOID_ CPhysicalDisk::setFeatureSupport(unsigned int value) {
    m_info.featureSupport = value;
}

unsigned int CPhysicalDisk::getFeatureSupport() {
    return m_info.featureSupport;
}

VOID_ CPhysicalDisk::setModelNum(unsigned char* text) {
    stg::copyText(m_info.modelNumber, text);
}

char* CPhysicalDisk::getModelNum() {
    return m_info.modelNumber;
}

VOID_ CPhysicalDisk::setSerialNumber(unsigned char* text) {
    stg::copyText(m_info.serialNumber, text);
}

char* CPhysicalDisk::getSerialNumber() {
    return m_info.serialNumber;
}

VOID_ CPhysicalDisk::setFWVersion(unsigned char* text) {
    stg::copyText(m_info.firmwareVersion, text);
}

char* CPhysicalDisk::getFWVersion() {
    return m_info.firmwareVersion;
}

VOID_ CPhysicalDisk::setSize(unsigned long long value) {
    m_info.size = value;
}

unsigned long long CPhysicalDisk::getSize() {
    return m_info.size;
}

VOID_ CPhysicalDisk::setBlockSize(unsigned int value) {
    m_info.blockSize = value;
}

unsigned int CPhysicalDisk::getBlockSize() {
    return m_info.blockSize;
}

VOID_ CPhysicalDisk::setHD_SSD_Type(unsigned char value) {
    m_info.hdSsdType = value;
}

unsigned char CPhysicalDisk::getHD_SSD_Type() {
    return m_info.hdSsdType;
}

VOID_ CPhysicalDisk::setHDIdForRaidStatus(unsigned short value) {
    m_raidStatus.hdId = value;
}

unsigned short CPhysicalDisk::getHDIdForRaidStatus() {
    return m_raidStatus.hdId;
}

VOID_ CPhysicalDisk::setRaidStatus(unsigned char value) {
    m_raidStatus.raidStatus = value;
}

unsigned char CPhysicalDisk::getRaidStatus() {
    return m_raidStatus.raidStatus;
}

VOID_ CPhysicalDisk::setWriteCacheOn(unsigned char value) {
    m_config.writeCacheOn = value;
}

unsigned char CPhysicalDisk::getWriteCacheOn() {
    return m_config.writeCacheOn;
}

VOID_ CPhysicalDisk::setSmartOn(unsigned char value) {
    m_config.smartOn = value;
}

unsigned char CPhysicalDisk::getSmartOn() {
    return m_config.smartOn;
}

VOID_ CPhysicalDisk::setOnline(unsigned char value) {
    m_config.online = value;
}

unsigned char CPhysicalDisk::getOnline() {
    return m_config.online;
}

VOID_ CPhysicalDisk::setDriveSpeed(unsigned char value) {
    m_config.driveSpeed = value;
}

unsigned char CPhysicalDisk::getDriveSpeed() {
    return m_config.driveSpeed;
}

VOID_ CPhysicalDisk::setCrypto(unsigned char value) {
    m_config.crypto = value;
}

unsigned char CPhysicalDisk::getCrypto() {
    return m_config.crypto;
}

VOID_ CPhysicalDisk::setAESPercentage(unsigned char value) {
    m_config.aesPercentage = value;
}

unsigned char CPhysicalDisk::getAESPercentage() {
    return m_config.aesPercentage;
}

VOID_ CPhysicalDisk::setHDId(unsigned short value) {
    m_config.hdId = value;
}

unsigned short CPhysicalDisk::getHDId() {
    return m_config.hdId;
}

VOID_ CPhysicalDisk::setIdForFreeSpace(unsigned short value) {
    m_freeSpace.deviceId = value;
}

unsigned short CPhysicalDisk::getIdForFreeSpace() {
    return m_freeSpace.deviceId;
}

VOID_ CPhysicalDisk::setBlockSizeForFreeSpace(unsigned short value) {
    m_freeSpace.blockSize = value;
}

unsigned short CPhysicalDisk::getBlockSizeForFreeSpace() {
    return m_freeSpace.blockSize;
}

VOID_ CPhysicalDisk::setSizeForFreeSpace(unsigned long long value) {
    m_freeSpace.size = value;
}

unsigned long long CPhysicalDisk::getSizeForFreeSpace() {
    return m_freeSpace.size;
}

VOID_ CPhysicalDisk::setSmartStatus(unsigned char status) {
    m_smartInfo.smartStatus = status;
}

unsigned char CPhysicalDisk::getSmartStatus() {
    return m_smartInfo.smartStatus;
}

VOID_ CPhysicalDisk::setSmartAttributeId(unsigned short index) {
    m_smartInfo.attributes[index].id = static_cast<UCHAR_>(index & 0xFF);
}

unsigned char CPhysicalDisk::getSmartAttributeId(unsigned short index) {
    return m_smartInfo.attributes[index].id;
}

VOID_ CPhysicalDisk::setSmartAttributeName(unsigned short index, unsigned char* name) {
    SMART_ATTRIBUTE& attribute = m_smartInfo.attributes[index];
    std::memcpy(attribute.name, name, sizeof(attribute.name));
    attribute.nameEnd = 0;
}

char* CPhysicalDisk::getSmartAttributeName(unsigned short index) {
    return m_smartInfo.attributes[index].name;
}

VOID_ CPhysicalDisk::setSmartAttributeCurrentValue(unsigned short index, unsigned char value) {
    m_smartInfo.attributes[index].currentValue = value;
}

unsigned char CPhysicalDisk::getSmartAttributeCurrentValue(unsigned short index) {
    return m_smartInfo.attributes[index].currentValue;
}

VOID_ CPhysicalDisk::setSmartAttributeThresholdValue(unsigned short index, unsigned char value) {
    m_smartInfo.attributes[index].thresholdValue = value;
}

unsigned char CPhysicalDisk::getSmartAttributeThresholdValue(unsigned short index) {
    return m_smartInfo.attributes[index].thresholdValue;
}

VOID_ CPhysicalDisk::setPDInfoAttributes(_PDInfoData* disk) {
    LOG_ENTRY;
    setDevID(disk->deviceId);
    setHDType(0x40);
    setModelNum(stg::asBytes(disk->modelNumber));
    setSerialNumber(stg::asBytes(disk->serialNumber));
    setFWVersion(stg::asBytes(disk->fwVersion));
    setSize(disk->size);
    setBlockSize(disk->blockSize);
    setHD_SSD_Type(1);
    LOG_EXIT;
}

// ODDITY: this record and the configuration carry hdId where the information and the free space
// carry deviceId; the two may differ. Pinned by PhysicalDisk.RecordsCarryTwoDifferentIds.
VOID_ CPhysicalDisk::setRaidStatusAttributes(_PDInfoData* disk) {
    LOG_ENTRY;
    setHDIdForRaidStatus(disk->hdId);
    setRaidStatus(disk->pdStatus);
    LOG_EXIT;
}

VOID_ CPhysicalDisk::setPDConfigAttributes(_PDInfoData* disk) {
    LOG_ENTRY;
    setWriteCacheOn(1);
    setSmartOn(1);
    setOnline(disk->pdStatus & kOnlineBit);
    setDriveSpeed(3);
    setCrypto(0);
    setAESPercentage(0);
    setHDId(disk->hdId);
    LOG_EXIT;
}

VOID_ CPhysicalDisk::setFreeSpaceAttributes(_PDInfoData* disk) {
    LOG_ENTRY;
    setIdForFreeSpace(disk->deviceId);
    // ODDITY: cut to 16 bits, so a block size of 65536 reads as 0 here and in full in the
    // information. Pinned by PhysicalDisk.BlockSizeIsCutForFreeSpaceOnly.
    setBlockSizeForFreeSpace(static_cast<USHORT_INT>(disk->blockSize & 0xFFFF));
    // All or nothing, by the disk's own status; what virtual disks use is another question.
    setSizeForFreeSpace((disk->pdStatus & kOnlineBit) != 0 ? 0 : disk->size);
    LOG_EXIT;
}

VOID_ CPhysicalDisk::setSmartInfoAttributes(_PDInfoData* disk,
                                            _SMART_HEALTH_INFORMATION_LOG_ENTRY* page) {
    LOG_ENTRY;
    // As long as their field, since a name is copied as a whole block.
    unsigned char lifeName[64] = "Percent Drive Life Remaining";
    unsigned char spareName[64] = "Available Spare";
    setSmartStatus((disk->pdStatus & kSmartBit) != 0 ? kStatusBitSet : kStatusBitClear);
    // ODDITY: named life remaining, and the raw percentage used: a new disk reads 0, a worn one
    // 100. Hosts receive the drive's byte. Pinned by
    // DriveHealth.LifeRemainingCarriesThePercentageUsed.
    setSmartAttributeId(0);
    setSmartAttributeName(0, lifeName);
    setSmartAttributeCurrentValue(0, page->percentageUsed);
    stg::logLine("PercentageUsed= ", page->percentageUsed);
    setSmartAttributeId(1);
    setSmartAttributeName(1, spareName);
    setSmartAttributeCurrentValue(1, page->availableSpare);
    setSmartAttributeThresholdValue(1, page->availableSpareThreshold);
    stg::logLine("AvailableSpare= ", page->availableSpare);
    stg::logLine("AvailableSpareThreshold= ", page->availableSpareThreshold);
    LOG_EXIT;
}

PPD_Info CPhysicalDisk::getPDInfoStruct() {
    return &m_info;
}

PPD_RaidStatus CPhysicalDisk::getPDRaidStatusStruct() {
    return &m_raidStatus;
}

PSMART_INFO_ARRAY CPhysicalDisk::getPDSmartInfoStruct() {
    return &m_smartInfo;
}

PPD_Config CPhysicalDisk::getPDConfigStruct() {
    return &m_config;
}

PPD_FreeSpaceInfo CPhysicalDisk::getFreeSpaceStruct() {
    return &m_freeSpace;
}
