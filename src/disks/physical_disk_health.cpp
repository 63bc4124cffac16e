// The health record of a physical disk.
#include "disks/physical_disk.h"

#include "disks/pd_info_data.h"
#include "disks/smart_log_entry.h"
#include "support/log_line.h"
#include "support/trace.h"

#include <cstring>

namespace {

constexpr UCHAR_ kStatusBitClear = 0x4F;
constexpr UCHAR_ kStatusBitSet = 1;

}  // namespace

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
