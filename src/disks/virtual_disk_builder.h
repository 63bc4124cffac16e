// Gathers the records of virtual disks for commands 12, 13 and 16.
#pragma once

#include "api/i_builder.h"
#include "disks/virtual_disk.h"

#include <memory>

// One object serves one command: setSpecificParams (not for 16), buidInfo, getSpecificObject, in
// this order. What fails is logged and in the error state; the answer then has what was gathered.
class CVirtualDiskBuilder : public IBuilder {
public:
    CVirtualDiskBuilder();
    ~CVirtualDiskBuilder() override;

    VOID_ buidInfo(int commandId) override;
    IObject* getObject() override;  // the array of CVirtualDisk, which stays the builder's
    // For 16, `out` is a std::vector<UsedSpacePerPDInVD>.
    VOID_ getSpecificObject(unsigned int commandId, void* out) override;
    VOID_ setSpecificParams(unsigned char commandId, void* param) override;

    VOID_ getVDInfo();
    VOID_ getVDConfig();
    VOID_ getUsedRaidSpacePerPDInVD();

    // The controller's record of the current disk; `out` stays as it is where the command could not
    // be built.
    VOID_ getAttributesForOneVD(_vdInfoData* out);

    VOID_ setActiveVDCount(unsigned char count);
    unsigned char getActiveVDCount();
    VOID_ setVDId(unsigned char vdId);
    unsigned char getVDId();
    VOID_ setRequestType(unsigned char requestType);
    unsigned char getRequestType();

private:
    using Setter = VOID_ (CVirtualDisk::*)(_vdInfoData*);

    void gatherAllOrOne(const char* complaint, Setter setter);
    void gather(bool all, Setter setter);

    std::unique_ptr<CVirtualDisk[]> m_pDisks;
    UCHAR_ m_activeVDCount = 0;  // disks that exist, packed at the front of the array
    UCHAR_ m_vdId = 0xFF;
    UCHAR_ m_requestType = 0xFF;
};
