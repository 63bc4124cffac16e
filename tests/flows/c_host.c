/* A host written in C: the whole life of the library through the header alone. */
#include "c_host.h"

#include "VeskNvme.h"

#include <string.h>

int runCHost(struct CHostResult* result) {
    CController controller;
    Adapter_OEM_Data oem;
    UCHAR_ count = 0xFF;

    memset(&controller, 0xA5, sizeof(controller));
    memset(&oem, 0xA5, sizeof(oem));
    result->nullRecord = ZT_Adapter_GetInfo(0, &count, NULL);
    result->countBefore = ZT_Adapter_GetCount();
    result->initialize = ZT_API_Initialize();
    result->countAfter = ZT_Adapter_GetCount();
    result->getInfo = ZT_Adapter_GetInfo(0, &count, &controller);
    result->countOfInfo = count;
    result->getOemData = ZT_Adapter_Get_OEM_Data(0, &oem);
    result->getConfig = ZT_Adapter_GetConfig(0, NULL, NULL);
    memcpy(&result->vendorId, &controller.bytes[CCONTROLLER_VENDOR_ID], 2);
    memcpy(&result->firmwareMajor, &controller.bytes[CCONTROLLER_FIRMWARE_VERSION], 2);
    result->oemMajor = oem.firmwareVersion.majorVersion;
    result->oemFirstByte = oem.rsvd0[0];
    ZT_API_Finalize();
    ZT_API_Finalize();
    return 0;
}
