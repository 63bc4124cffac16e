// The exported functions: each turns its arguments into one command for the dispatcher. None of
// them catches exceptions or takes a lock.
#include "VeskNvme.h"

#include "api/command_handler.h"
#include "api/error_state.h"
#include "support/ini_files.h"
#include "support/log_line.h"
#include "support/trace.h"

#include <cstring>

namespace {

// The start of a request: a null record is refused, for any other the error state of earlier calls
// ends here.
bool accepts(const void* record, const char* complaint) {
    if (record == nullptr) {
        VeskNVMeLibrary_Error::setErrorCode(ERR_NULL_ARGUMENT);
        stg::logLine(complaint);
        return false;
    }
    VeskNVMeLibrary_Error::setErrorCode(ERR_NONE);
    return true;
}

UCHAR_ errorState() {
    return static_cast<UCHAR_>(VeskNVMeLibrary_Error::getErrorCode());
}

// A disk call: the command carries the adapter id and the request.
void requestDisks(CommandId id, UCHAR_ adapterId, PInfo_Request request, const char* complaint) {
    if (accepts(request, complaint)) {
        stg::dispatch(id, &adapterId, request);
    }
}

// What ZT_Adapter_GetInfo says in the log about the record that it delivers.
void logController(UCHAR_ count, const CController& controller) {
    const char* const prefix = "libVeskNvme: VeskNVMeLibrary::ZT_Adapter_GetInfo: ";
    const _PackageVersion firmware = controller.getFirmwareVersion();
    stg::logLine(prefix, "Count: ", stg::RawByte{count});
    stg::logLine(prefix, "VendorID: ", controller.getVendorID());
    stg::logLine(prefix, "SubVendorID: ", controller.getSubVendorID());
    stg::logLine(prefix, "DeviceID: ", controller.getDeviceID());
    stg::logLine(prefix, "SubDeviceID: ", controller.getSubDeviceID());
    stg::logLine(prefix, "FW Major Version: ", firmware.majorVersion);
    stg::logLine(prefix, "FW Minor Version: ", firmware.minorVersion);
    stg::logLine(prefix, "FW RevisionNumber: ", firmware.revisionNumber);
    stg::logLine(prefix, "FW BuildNumber: ", firmware.buildNumber);
    stg::logLine(prefix, "Current LinkSpeed: ", controller.getLinkSpeed());
    stg::logLine(prefix, "Current LinkWidth: ", controller.getLinkWidth());
    stg::logLine(prefix, "Max LinkSpeed: ", controller.getMaxSpeed());
    stg::logLine(prefix, "Max LinkWidth: ", controller.getMaxLinkWidth());
}

// What ZT_PD_GET_SMART_INFO says in the log about the two attributes in use.
void logHealth(const SMART_INFO_ARRAY& health) {
    const char* const prefix = "libVeskNvme: VeskNVMeLibrary::ZT_PD_GET_SMART_INFO: ";
    const SMART_ATTRIBUTE& life = health.attributes[0];
    const SMART_ATTRIBUTE& spare = health.attributes[1];
    stg::logLine(prefix, "AttributeName: ", stg::fieldText(life.name));
    stg::logLine(prefix, "CurrentValue: ", life.currentValue);
    stg::logLine(prefix, "AttributeName: ", stg::fieldText(spare.name));
    stg::logLine(prefix, "CurrentValue: ", spare.currentValue);
    stg::logLine(prefix, "ThresholdValue: ", spare.thresholdValue);
}

}  // namespace

UCHAR_ ZT_API_Initialize() {
    VeskNVMeLibrary_Error::setErrorCode(ERR_NONE);
    // ODDITY: nothing ever clears the flag, so this entry starts the library once in a process,
    // also after a tear-down. Pinned by LibraryStart.InitializeAfterTearDownStartsNothing.
    if (CommandHandler::m_libraryInitialized == 0) {
        // Ahead of the ENTRY line, which then stands in the log that the configuration asks for.
        VeskNVMeLibrary_Helper::setDebugLevel(2);
        LOG_ENTRY;
        stg::dispatch(API_INITIALIZE);
        LOG_EXIT;
    }
    return errorState();
}

VOID_ ZT_API_Finalize() {
    LOG_ENTRY;
    ++CommandHandler::m_libraryFinalized;
    // ODDITY: only the second call tears down: the first one leaves the library to its other user.
    // Pinned by LibraryStop.OnlyTheSecondFinalizeTearsDown.
    if (CommandHandler::m_libraryFinalized == 2) {
        stg::dispatch(API_FINALIZE);
        CommandHandler::destroyMe();
    }
    LOG_EXIT;
}

VOID_ ZNV_Library_Initialize() {
    LOG_ENTRY;
    stg::dispatch(API_INITIALIZE);
    LOG_EXIT;
}

VOID_ ZNV_Library_Finalize() {
    LOG_ENTRY;
    stg::dispatch(API_FINALIZE);
    CommandHandler::destroyMe();
    LOG_EXIT;
}

UCHAR_ ZT_Adapter_GetCount() {
    LOG_ENTRY;
    VeskNVMeLibrary_Error::setErrorCode(ERR_NONE);
    UCHAR_ count = 0xFF;
    stg::dispatch(ADAPTER_GET_COUNT, &count);
    LOG_EXIT;
    return count;
}

UCHAR_ ZT_Adapter_GetInfo(UCHAR_ adapterId, UCHAR_* pCount, CController* pAdapterInfo) {
    LOG_ENTRY;
    if (accepts(pAdapterInfo,
                "libVeskNvme: VeskNVMeLibrary::ZT_Adapter_GetInfo: pAdapterInfo is NULL ")) {
        stg::dispatch(ADAPTER_GET_INFO, &adapterId, pCount, pAdapterInfo);
        logController(*pCount, *pAdapterInfo);
    }
    LOG_EXIT;
    return errorState();
}

// ODDITY: a stub on purpose: the record has no field that the library would know how to fill.
// Pinned by AdapterCalls.GetConfigDoesNothing.
UCHAR_ ZT_Adapter_GetConfig(UCHAR_ /*adapterId*/, UCHAR_* /*pCount*/, PAdapter_Config /*pConfig*/) {
    LOG_ENTRY;
    LOG_EXIT;
    return 0;
}

UCHAR_ ZT_Adapter_Get_OEM_Data(UCHAR_ adapterId, PAdapter_OEM_Data p_data) {
    LOG_ENTRY;
    if (accepts(p_data, "libVeskNvme: VeskNVMeLibrary::ZT_Adapter_Get_OEM_Data p_data is NULL")) {
        p_data->firmwareVersion = {0, 0, 0, 0};
        std::memset(p_data->rsvd32, 0, sizeof(p_data->rsvd32));
        stg::dispatch(ADAPTER_GET_OEM_DATA, &adapterId, p_data);
    }
    LOG_EXIT;
    return errorState();
}

UCHAR_ ZT_PD_GetHDInfo_Ext(UCHAR_ adapterId, PInfo_Request pHdInfoReq) {
    LOG_ENTRY;
    requestDisks(PD_GetHDInfo_Ext, adapterId, pHdInfoReq,
                 "libVeskNvme: VeskNVMeLibrary::ZT_PD_GetHDInfo_Ext pHdInfoReq is NULL");
    LOG_EXIT;
    return errorState();
}

UCHAR_ ZT_PD_GetConfig(UCHAR_ adapterId, PInfo_Request pHdConfigReq) {
    LOG_ENTRY;
    requestDisks(PD_GetConfig, adapterId, pHdConfigReq,
                 "libVeskNvme: VeskNVMeLibrary::ZT_PD_GetConfig pHdConfigReq is NULL");
    LOG_EXIT;
    return errorState();
}

UCHAR_ ZT_PD_GetHDRaidStatus(UCHAR_ adapterId, PInfo_Request pHdRaidStatusReq) {
    LOG_ENTRY;
    requestDisks(PD_GetHDRaidStatus, adapterId, pHdRaidStatusReq,
                 "libVeskNvme: VeskNVMeLibrary::ZT_PD_GetHDRaidStatus pHdRaidStatusReq is NULL");
    LOG_EXIT;
    return errorState();
}

UCHAR_ ZT_PD_GetFreeSpaceInfo(UCHAR_ adapterId, PInfo_Request pHdFreeSpaceReq) {
    LOG_ENTRY;
    requestDisks(PD_GetFreeSpaceInfo, adapterId, pHdFreeSpaceReq,
                 "libVeskNvme: VeskNVMeLibrary::ZT_PD_GetFreeSpaceInfo pHdFreeSpaceReq is NULL");
    LOG_EXIT;
    return errorState();
}

UCHAR_ ZT_PD_GET_SMART_INFO(UCHAR_ adapterId, UCHAR_ pdId, UCHAR_ unused,
                            PSMART_INFO_ARRAY pHdSmartReq) {
    LOG_ENTRY;
    if (accepts(pHdSmartReq,
                "libVeskNvme: VeskNVMeLibrary::ZT_PD_GET_SMART_INFO pHdSmartReq is NULL")) {
        stg::dispatch(PD_GET_SMART_INFO, &adapterId, &pdId, &unused, pHdSmartReq);
        logHealth(*pHdSmartReq);
    }
    LOG_EXIT;
    return errorState();
}

UCHAR_ ZT_PD_OEMData(UCHAR_ /*adapterId*/, PPD_OEM_Data p_pdOEMCommand) {
    LOG_ENTRY;
    if (accepts(p_pdOEMCommand,
                "libVeskNvme: VeskNVMeLibrary::ZT_PD_OEMData p_pdOEMCommand is NULL")) {
        stg::dispatch(Identify_PD, p_pdOEMCommand);
    }
    LOG_EXIT;
    return errorState();
}

UCHAR_ ZT_LD_GetInfo(UCHAR_ adapterId, PInfo_Request pVDInfo) {
    LOG_ENTRY;
    requestDisks(LD_GetInfo, adapterId, pVDInfo,
                 "libVeskNvme: VeskNVMeLibrary::ZT_LD_GetInfo pVDInfo is NULL");
    LOG_EXIT;
    return errorState();
}

UCHAR_ ZT_LD_GetConfig(UCHAR_ adapterId, PInfo_Request pLdConfigReq) {
    LOG_ENTRY;
    requestDisks(LD_GetConfig, adapterId, pLdConfigReq,
                 "libVeskNvme: VeskNVMeLibrary::ZT_LD_GetConfig pLdConfigReq is NULL");
    LOG_EXIT;
    return errorState();
}

UCHAR_ ZT_EVT_GetEvent(UCHAR_ adapterId, UCHAR_ unused, UCHAR_* pCount, CEvent* pEvent) {
    LOG_ENTRY;
    if (accepts(pEvent, "libVeskNvme: VeskNVMeLibrary::ZT_EVT_GetEvent pEvent is NULL")) {
        stg::dispatch(EVT_GETEVENT, &adapterId, &unused, pCount, pEvent);
        const USHORT_INT count = *pCount;
        stg::logLine("VeskNVMeLibrary::ZT_EVT_GetEvent: Number of events returned = ", count);
        for (USHORT_INT index = 0; index < count; ++index) {
            CEvent& event = pEvent[index];
            stg::logLine("VeskNVMeLibrary::ZT_EVT_GetEvent: SequenceNo: ", event.getSequenceNo());
            stg::logLine("VeskNVMeLibrary::ZT_EVT_GetEvent: Class: ", event.getClass());
            stg::logLine("VeskNVMeLibrary::ZT_EVT_GetEvent: Code: ", event.getCode());
        }
    }
    LOG_EXIT;
    return errorState();
}
