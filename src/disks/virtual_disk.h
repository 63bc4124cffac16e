// The exported records of one virtual disk, and what it takes of each member.
#pragma once

#include "VeskNvme.h"
#include "disks/used_space_per_pd.h"

#include <vector>

struct _vdInfoData;

// Filled by CVirtualDiskBuilder, which copies the records out whole. Bytes without a setter are 0.
class CVirtualDisk {
public:
    CVirtualDisk();
    CVirtualDisk(const CVirtualDisk& other);          // copies nothing: cleared like a new one
    CVirtualDisk& operator=(CVirtualDisk& other);     // changes nothing
    VOID_ copyAttributes(const CVirtualDisk& other);  // does nothing
    VOID_ logAttributes();                            // does nothing

    // VD_Info. The name is cut to 15 characters and not trimmed.
    VOID_ setID(unsigned short vdId);
    unsigned short getID();
    VOID_ setStatus(unsigned char status);
    unsigned char getStatus();
    VOID_ setStripeBlockSize(unsigned short size);
    unsigned short getStripeBlockSize();
    VOID_ setRaidMode(unsigned char mode);
    unsigned char getRaidMode();
    VOID_ setHDCount(unsigned char count);
    unsigned char getHDCount();
    VOID_ setCacheMode(unsigned char mode);
    unsigned char getCacheMode();
    VOID_ setSize(unsigned long long size);
    unsigned long long getSize();
    VOID_ setName(unsigned char* text);
    char* getName();
    VOID_ setBlockSize(unsigned int size);
    unsigned int getBlockSize();

    // VD_Config.
    VOID_ setCacheModeForVDConfig(unsigned char mode);
    unsigned char getCacheModeForVDConfig();
    VOID_ setHypperWaterMark(unsigned char mark);
    unsigned char getHypperWaterMark();
    VOID_ setAutoRebuildOn(unsigned char on);
    unsigned char getAutoRebuildOn();
    VOID_ setStatusForVDConfig(unsigned char status);
    unsigned char getStatusForVDConfig();
    VOID_ setLDId(unsigned short vdId);
    unsigned short getLDId();
    VOID_ setHyperRebuildMode(unsigned char mode);
    unsigned char getHyperRebuildMode();
    VOID_ setNameForVDConfig(unsigned char* text);
    char* getNameForVDConfig();

    // Space per member.
    VOID_ setVDIdForUsedSpacePerPDInVD(unsigned char vdId);
    unsigned char getVDIdForUsedSpacePerPDInVD();
    // Appends the low bytes of the first `count` ids, all of which must be readable.
    VOID_ setPDIdsOfContainingPDs(unsigned char count, unsigned short* ids);
    std::vector<UCHAR_> getPDIdsOfContainingPDs();
    VOID_ setUsedSizePerPD(unsigned long long size);
    unsigned long long getUsedSizePerPD();

    // Fill one record from what the controller says about the virtual disk. For the space, a disk
    // of mode 0 or 15 without members has no share to compute: ERR_FAIL, the used size stays.
    VOID_ setVDInfoAttributes(_vdInfoData* disk);
    VOID_ setVDConfigAttributes(_vdInfoData* disk);
    VOID_ setAttributesForUsedSpacePerPDInVD(_vdInfoData* disk);

    // The records, which stay the disk's.
    PVD_Info getVDInfoStruct();
    PVD_Config getVDConfigStruct();
    UsedSpacePerPDInVD getUsedSpacePerPDInVDStruct();

private:
    VD_Info m_info;
    VD_Config m_config;
    UsedSpacePerPDInVD m_usedSpace;
};
