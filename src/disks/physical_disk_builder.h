// Gathers the records of physical disks for commands 7 to 11.
#pragma once

#include "api/i_builder.h"
#include "disks/physical_disk.h"

#include <memory>

// One object serves one command: setSpecificParams, buidInfo, getSpecificObject, in this order.
// What fails is logged and in the error state; the answer then has what was gathered, mostly
// nothing.
class CPhysicalDiskBuilder : public IBuilder {
public:
    CPhysicalDiskBuilder();                                 // room for two disks
    explicit CPhysicalDiskBuilder(unsigned int commandId);  // for one, whatever the command
    ~CPhysicalDiskBuilder() override;

    VOID_ buidInfo(int commandId) override;
    IObject* getObject() override;  // the array of CPhysicalDisk, which stays the builder's
    VOID_ getSpecificObject(unsigned int commandId, void* out) override;
    VOID_ setSpecificParams(unsigned char commandId, void* param) override;

    VOID_ getPDInfo();
    VOID_ getPDConfig();
    VOID_ getRaidStatus();
    VOID_ getFreeSpaceInfo();
    VOID_ getSmartInfo();

    // The controller's record of the current disk; `out` stays as it is where the command could not
    // be built.
    VOID_ getAttributesForOnePD(_PDInfoData* out);
    // The health page of the current disk, likewise.
    VOID_ getSmartAttributesForOnePD(_SMART_HEALTH_INFORMATION_LOG_ENTRY* out);

    // Adds what virtual disks take of the current disk to the number behind `used`, in LBAs. 0, or
    // 1 if the disk is in none. Sends a command through the dispatcher.
    RESULT getUsedSpaceForPDinVD(unsigned long long* used);

    VOID_ setActivePDCount(unsigned char count);
    unsigned char getActivePDCount();
    VOID_ setPDId(unsigned char pdId);
    unsigned char getPDId();
    VOID_ setRequestType(unsigned char requestType);
    unsigned char getRequestType();

private:
    using Setter = VOID_ (CPhysicalDisk::*)(_PDInfoData*);

    void gatherAllOrOne(const char* complaint, Setter setter);

    std::unique_ptr<CPhysicalDisk[]> m_pDisks;
    UCHAR_ m_activePDCount = 0;  // disks that exist, packed at the front of the array
    UCHAR_ m_pdId = 0xFF;
    UCHAR_ m_requestType = 0xFF;
};
