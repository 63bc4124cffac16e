// The one talker there is: it hands commands to the storage driver through libvmkmgmt.
#pragma once

#include "transport/i_device_talker.h"

#include <map>

class CVMWareZNVDeviceTalker : public IZNVDeviceTalker {
public:
    CVMWareZNVDeviceTalker();
    CVMWareZNVDeviceTalker(const CVMWareZNVDeviceTalker& other);             // copies nothing
    CVMWareZNVDeviceTalker& operator=(const CVMWareZNVDeviceTalker& other);  // copies nothing
    ~CVMWareZNVDeviceTalker() override;  // closes and frees the connection

    // Creates the singleton on first use; null if that failed.
    static CVMWareZNVDeviceTalker* getUniqueInstance();

    BOOL_TYPE checkControllerExistence() override;
    UCHAR_ getControllerCount() override;
    VOID_ destroyOSdeviceTalker() override;
    RESULT executeCMD(CCommandDword* command, ULONG_INT code) override;
    RESULT executeIOCTL(znvTalkerMulti* request) override;

    // Identify Controller data into a buffer of at least 4096 bytes, over the given connection.
    RESULT getIdentifyData(nvme_handle* adapter, VOIDPTR buffer);

    // 0 if the adapter is the controller. The sense is that of a RESULT, not of a truth value.
    RESULT isZenthraNVMeVESKcontroller(nvme_handle* adapter);

    // Link speed and width by name, out of the host's PCI configuration dump.
    RESULT getPCIeInfo(std::map<STDSTR, USHORT_INT>& values);

    // The same as a _VESKPCIInfo in the command's 4-byte buffer, which stays as it was on failure.
    RESULT readPCIeConfigSpaceRegion(CCommandDword* command);

    static CVMWareZNVDeviceTalker* m_pVMWareZNVDeviceTalkerInstance;
};
