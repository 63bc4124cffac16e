// The exported records of one physical disk.
#pragma once

#include "VeskNvme.h"

struct _PDInfoData;
struct _SMART_HEALTH_INFORMATION_LOG_ENTRY;

// Filled by CPhysicalDiskBuilder, which copies the records out whole. Bytes without a setter are 0.
class CPhysicalDisk {
public:
    CPhysicalDisk();
    CPhysicalDisk(const CPhysicalDisk& other);       // copies nothing: cleared like a new one
    CPhysicalDisk& operator=(CPhysicalDisk& other);  // changes nothing

    // PD_Info. Texts are cut to leave a NUL in the last byte of their field, and not trimmed.
    VOID_ setDevID(unsigned int deviceId);
    unsigned int getDevID();
    VOID_ setSASAddress();
    char* getSASAddress();
    VOID_ setHDType(unsigned char type);
    unsigned char getHDType();
    VOID_ setFeatureSupport(unsigned int features);
    unsigned int getFeatureSupport();
    VOID_ setModelNum(unsigned char* text);
    char* getModelNum();
    VOID_ setSerialNumber(unsigned char* text);
    char* getSerialNumber();
    VOID_ setFWVersion(unsigned char* text);
    char* getFWVersion();
    VOID_ setSize(unsigned long long size);
    unsigned long long getSize();
    VOID_ setBlockSize(unsigned int size);
    unsigned int getBlockSize();
    VOID_ setHD_SSD_Type(unsigned char type);
    unsigned char getHD_SSD_Type();

    // PD_RaidStatus.
    VOID_ setHDIdForRaidStatus(unsigned short hdId);
    unsigned short getHDIdForRaidStatus();
    VOID_ setRaidStatus(unsigned char status);
    unsigned char getRaidStatus();

    // PD_Config.
    VOID_ setWriteCacheOn(unsigned char on);
    unsigned char getWriteCacheOn();
    VOID_ setSmartOn(unsigned char on);
    unsigned char getSmartOn();
    VOID_ setOnline(unsigned char online);
    unsigned char getOnline();
    VOID_ setDriveSpeed(unsigned char speed);
    unsigned char getDriveSpeed();
    VOID_ setCrypto(unsigned char crypto);
    unsigned char getCrypto();
    VOID_ setAESPercentage(unsigned char percentage);
    unsigned char getAESPercentage();
    VOID_ setHDId(unsigned short hdId);
    unsigned short getHDId();

    // PD_FreeSpaceInfo.
    VOID_ setIdForFreeSpace(unsigned short deviceId);
    unsigned short getIdForFreeSpace();
    VOID_ setBlockSizeForFreeSpace(unsigned short size);
    unsigned short getBlockSizeForFreeSpace();
    VOID_ setSizeForFreeSpace(unsigned long long size);
    unsigned long long getSizeForFreeSpace();

    // SMART_INFO_ARRAY. An index is 0 to 29 and is not checked.
    VOID_ setSmartStatus(unsigned char status);
    unsigned char getSmartStatus();
    VOID_ setSmartAttributeId(unsigned short index);
    unsigned char getSmartAttributeId(unsigned short index);
    // Copies 64 bytes whatever the length of the text: that many must be readable.
    VOID_ setSmartAttributeName(unsigned short index, unsigned char* name);
    char* getSmartAttributeName(unsigned short index);
    VOID_ setSmartAttributeCurrentValue(unsigned short index, unsigned char value);
    unsigned char getSmartAttributeCurrentValue(unsigned short index);
    VOID_ setSmartAttributeThresholdValue(unsigned short index, unsigned char value);
    unsigned char getSmartAttributeThresholdValue(unsigned short index);

    // Fill one record from what the controller says about the disk.
    VOID_ setPDInfoAttributes(_PDInfoData* disk);
    VOID_ setRaidStatusAttributes(_PDInfoData* disk);
    VOID_ setPDConfigAttributes(_PDInfoData* disk);
    VOID_ setFreeSpaceAttributes(_PDInfoData* disk);
    VOID_ setSmartInfoAttributes(_PDInfoData* disk, _SMART_HEALTH_INFORMATION_LOG_ENTRY* page);

    // The records, which stay the disk's.
    PPD_Info getPDInfoStruct();
    PPD_RaidStatus getPDRaidStatusStruct();
    PSMART_INFO_ARRAY getPDSmartInfoStruct();
    PPD_Config getPDConfigStruct();
    PPD_FreeSpaceInfo getFreeSpaceStruct();

private:
    PD_Info m_info;
    PD_RaidStatus m_raidStatus;
    SMART_INFO_ARRAY m_smartInfo;
    PD_Config m_config;
    PD_FreeSpaceInfo m_freeSpace;
};
