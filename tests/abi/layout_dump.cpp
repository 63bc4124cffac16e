// Prints the sizes and offsets of all records that cross a boundary of the library.
#include "VeskNvme.h"

#include "api/zt_command.h"
#include "controller/adapter_data.h"
#include "disks/pd_info_data.h"
#include "disks/smart_log_entry.h"
#include "disks/vd_info_data.h"
#include "events/event_record.h"
#include "transport/management.h"
#include "transport/nvme_handle.h"
#include "transport/nvme_uio.h"
#include "transport/pcie_link_info.h"

#include <cstddef>
#include <cstdio>

namespace {

void printRecord(const char* name, std::size_t size) {
    std::printf("%s %zu\n", name, size);
}

void printField(const char* name, std::size_t offset) {
    std::printf("  %zu %s\n", offset, name);
}

void printPublicRecords() {
    printRecord("Info_Request", sizeof(Info_Request));
    printField("requestType", offsetof(Info_Request, requestType));
    printField("id", offsetof(Info_Request, id));
    printField("recordCount", offsetof(Info_Request, recordCount));
    printField("recordSize", offsetof(Info_Request, recordSize));
    printRecord("_PackageVersion", sizeof(_PackageVersion));
    printField("majorVersion", offsetof(_PackageVersion, majorVersion));
    printField("minorVersion", offsetof(_PackageVersion, minorVersion));
    printField("revisionNumber", offsetof(_PackageVersion, revisionNumber));
    printField("buildNumber", offsetof(_PackageVersion, buildNumber));
    printRecord("_BDF", sizeof(_BDF));
    printField("function", offsetof(_BDF, function));
    printField("device", offsetof(_BDF, device));
    printField("bus", offsetof(_BDF, bus));
    printRecord("Adapter_OEM_Data", sizeof(Adapter_OEM_Data));
    printField("firmwareVersion", offsetof(Adapter_OEM_Data, firmwareVersion));
    printField("rsvd32", offsetof(Adapter_OEM_Data, rsvd32));
    printRecord("PD_OEM_Data", sizeof(PD_OEM_Data));
    printField("pdId", offsetof(PD_OEM_Data, pdId));
    printField("ledStatus", offsetof(PD_OEM_Data, ledStatus));
    printRecord("PD_Info", sizeof(PD_Info));
    printField("deviceId", offsetof(PD_Info, deviceId));
    printField("sasAddress", offsetof(PD_Info, sasAddress));
    printField("hdType", offsetof(PD_Info, hdType));
    printField("featureSupport", offsetof(PD_Info, featureSupport));
    printField("modelNumber", offsetof(PD_Info, modelNumber));
    printField("serialNumber", offsetof(PD_Info, serialNumber));
    printField("firmwareVersion", offsetof(PD_Info, firmwareVersion));
    printField("size", offsetof(PD_Info, size));
    printField("blockSize", offsetof(PD_Info, blockSize));
    printField("hdSsdType", offsetof(PD_Info, hdSsdType));
    printRecord("PD_RaidStatus", sizeof(PD_RaidStatus));
    printField("hdId", offsetof(PD_RaidStatus, hdId));
    printField("raidStatus", offsetof(PD_RaidStatus, raidStatus));
    printRecord("PD_Config", sizeof(PD_Config));
    printField("writeCacheOn", offsetof(PD_Config, writeCacheOn));
    printField("smartOn", offsetof(PD_Config, smartOn));
    printField("online", offsetof(PD_Config, online));
    printField("driveSpeed", offsetof(PD_Config, driveSpeed));
    printField("crypto", offsetof(PD_Config, crypto));
    printField("aesPercentage", offsetof(PD_Config, aesPercentage));
    printField("hdId", offsetof(PD_Config, hdId));
    printRecord("PD_FreeSpaceInfo", sizeof(PD_FreeSpaceInfo));
    printField("deviceId", offsetof(PD_FreeSpaceInfo, deviceId));
    printField("blockSize", offsetof(PD_FreeSpaceInfo, blockSize));
    printField("size", offsetof(PD_FreeSpaceInfo, size));
    printRecord("SMART_ATTRIBUTE", sizeof(SMART_ATTRIBUTE));
    printField("id", offsetof(SMART_ATTRIBUTE, id));
    printField("name", offsetof(SMART_ATTRIBUTE, name));
    printField("nameEnd", offsetof(SMART_ATTRIBUTE, nameEnd));
    printField("currentValue", offsetof(SMART_ATTRIBUTE, currentValue));
    printField("thresholdValue", offsetof(SMART_ATTRIBUTE, thresholdValue));
    printRecord("SMART_INFO_ARRAY", sizeof(SMART_INFO_ARRAY));
    printField("smartStatus", offsetof(SMART_INFO_ARRAY, smartStatus));
    printField("attributes", offsetof(SMART_INFO_ARRAY, attributes));
    printRecord("VD_Info", sizeof(VD_Info));
    printField("id", offsetof(VD_Info, id));
    printField("status", offsetof(VD_Info, status));
    printField("stripeBlockSize", offsetof(VD_Info, stripeBlockSize));
    printField("raidMode", offsetof(VD_Info, raidMode));
    printField("hdCount", offsetof(VD_Info, hdCount));
    printField("cacheMode", offsetof(VD_Info, cacheMode));
    printField("size", offsetof(VD_Info, size));
    printField("name", offsetof(VD_Info, name));
    printField("blockSize", offsetof(VD_Info, blockSize));
    printRecord("VD_Config", sizeof(VD_Config));
    printField("cacheMode", offsetof(VD_Config, cacheMode));
    printField("hypperWaterMark", offsetof(VD_Config, hypperWaterMark));
    printField("autoRebuildOn", offsetof(VD_Config, autoRebuildOn));
    printField("status", offsetof(VD_Config, status));
    printField("ldId", offsetof(VD_Config, ldId));
    printField("hyperRebuildMode", offsetof(VD_Config, hyperRebuildMode));
    printField("name", offsetof(VD_Config, name));
}

// Their members are private; the header pins these constants to them.
void printClasses() {
    printRecord("CController", sizeof(CController));
    printField("FIRMWARE_VERSION", CCONTROLLER_FIRMWARE_VERSION);
    printField("SYSTEM_IO_BUS_NUMBER", CCONTROLLER_SYSTEM_IO_BUS_NUMBER);
    printField("SLOT_NUMBER", CCONTROLLER_SLOT_NUMBER);
    printField("VENDOR_ID", CCONTROLLER_VENDOR_ID);
    printField("SUB_VENDOR_ID", CCONTROLLER_SUB_VENDOR_ID);
    printField("DEVICE_ID", CCONTROLLER_DEVICE_ID);
    printField("SUB_DEVICE_ID", CCONTROLLER_SUB_DEVICE_ID);
    printField("PORT_COUNT", CCONTROLLER_PORT_COUNT);
    printField("PHYSICAL_DISK_COUNT", CCONTROLLER_PHYSICAL_DISK_COUNT);
    printField("VIRTUAL_DISK_COUNT", CCONTROLLER_VIRTUAL_DISK_COUNT);
    printField("MAX_BUFFER_SIZE", CCONTROLLER_MAX_BUFFER_SIZE);
    printField("MAX_LINK_SPEED", CCONTROLLER_MAX_LINK_SPEED);
    printField("LINK_SPEED", CCONTROLLER_LINK_SPEED);
    printField("MAX_LINK_WIDTH", CCONTROLLER_MAX_LINK_WIDTH);
    printField("LINK_WIDTH", CCONTROLLER_LINK_WIDTH);
    printRecord("CEvent", sizeof(CEvent));
    printField("CLASS", CEVENT_CLASS);
    printField("CODE", CEVENT_CODE);
    printField("TIME_STAMP", CEVENT_TIME_STAMP);
    printField("DEVICE_ID", CEVENT_DEVICE_ID);
    printField("SEVERITY", CEVENT_SEVERITY);
    printField("SEQUENCE_NO", CEVENT_SEQUENCE_NO);
    printField("DESCRIPTION", CEVENT_DESCRIPTION);
}

void printInternalRecords() {
    printRecord("ZTCommand", sizeof(ZTCommand));
    printField("commandId", offsetof(ZTCommand, commandId));
    printField("arg1", offsetof(ZTCommand, arg1));
    printField("arg2", offsetof(ZTCommand, arg2));
    printField("arg3", offsetof(ZTCommand, arg3));
    printField("arg4", offsetof(ZTCommand, arg4));
    printField("arg5", offsetof(ZTCommand, arg5));
    printRecord("nvme_uio", sizeof(nvme_uio));
    printField("opcode", offsetof(nvme_uio, opcode));
    printField("fuse", offsetof(nvme_uio, fuse));
    printField("commandId", offsetof(nvme_uio, commandId));
    printField("nsid", offsetof(nvme_uio, nsid));
    printField("reserved", offsetof(nvme_uio, reserved));
    printField("cdw10", offsetof(nvme_uio, cdw10));
    printField("cdw11", offsetof(nvme_uio, cdw11));
    printField("cdw12", offsetof(nvme_uio, cdw12));
    printField("cdw13", offsetof(nvme_uio, cdw13));
    printField("cdw14", offsetof(nvme_uio, cdw14));
    printField("cdw15", offsetof(nvme_uio, cdw15));
    printField("completion", offsetof(nvme_uio, completion));
    printField("completionStatus", offsetof(nvme_uio, completionStatus));
    printField("namespaceId", offsetof(nvme_uio, namespaceId));
    printField("direction", offsetof(nvme_uio, direction));
    printField("reserved2", offsetof(nvme_uio, reserved2));
    printField("uioStatus", offsetof(nvme_uio, uioStatus));
    printField("dataLength", offsetof(nvme_uio, dataLength));
    printField("metaLength", offsetof(nvme_uio, metaLength));
    printField("timeout", offsetof(nvme_uio, timeout));
    printField("dataAddress", offsetof(nvme_uio, dataAddress));
    printField("metaAddress", offsetof(nvme_uio, metaAddress));
    printRecord("nvme_handle", sizeof(nvme_handle));
    printField("name", offsetof(nvme_handle, name));
    printField("handle", offsetof(nvme_handle, handle));
    printRecord("_znvTalkerMulti", sizeof(_znvTalkerMulti));
    printField("handle", offsetof(_znvTalkerMulti, handle));
    printField("code", offsetof(_znvTalkerMulti, code));
    printField("uio", offsetof(_znvTalkerMulti, uio));
    printRecord("nvmeAdapterInfo", sizeof(nvmeAdapterInfo));
    printField("name", offsetof(nvmeAdapterInfo, name));
    printField("signature", offsetof(nvmeAdapterInfo, signature));
    printField("remainder", offsetof(nvmeAdapterInfo, remainder));
    printRecord("nvme_adapter_list", sizeof(nvme_adapter_list));
    printField("count", offsetof(nvme_adapter_list, count));
    printField("adapter", offsetof(nvme_adapter_list, adapter));
    printRecord("ManagementSignature", sizeof(ManagementSignature));
    printField("version", offsetof(ManagementSignature, version));
    printField("name", offsetof(ManagementSignature, name));
    printField("vendor", offsetof(ManagementSignature, vendor));
    printField("numCallbacks", offsetof(ManagementSignature, numCallbacks));
    printField("callbacks", offsetof(ManagementSignature, callbacks));
    printRecord("ManagementCallback", sizeof(ManagementCallback));
    printField("location", offsetof(ManagementCallback, location));
    printField("callback", offsetof(ManagementCallback, callback));
    printField("synchronous", offsetof(ManagementCallback, synchronous));
    printField("numParms", offsetof(ManagementCallback, numParms));
    printField("parmSizes", offsetof(ManagementCallback, parmSizes));
    printField("parmTypes", offsetof(ManagementCallback, parmTypes));
    printField("callbackId", offsetof(ManagementCallback, callbackId));
    printRecord("_VESKPCIInfo", sizeof(_VESKPCIInfo));
    printField("negotiatedLinkSpeed", offsetof(_VESKPCIInfo, negotiatedLinkSpeed));
    printField("maxLinkSpeed", offsetof(_VESKPCIInfo, maxLinkSpeed));
    printField("negotiatedLinkWidth", offsetof(_VESKPCIInfo, negotiatedLinkWidth));
    printField("maxLinkWidth", offsetof(_VESKPCIInfo, maxLinkWidth));
    printRecord("_AdapaterData", sizeof(_AdapaterData));
    printField("vendorId", offsetof(_AdapaterData, vendorId));
    printField("subVendorId", offsetof(_AdapaterData, subVendorId));
    printField("deviceId", offsetof(_AdapaterData, deviceId));
    printField("subDeviceId", offsetof(_AdapaterData, subDeviceId));
    printField("portCount", offsetof(_AdapaterData, portCount));
    printField("vdCount", offsetof(_AdapaterData, vdCount));
    printField("pdCount", offsetof(_AdapaterData, pdCount));
    printField("maxBufSize", offsetof(_AdapaterData, maxBufSize));
    printField("bdf", offsetof(_AdapaterData, bdf));
    printField("firmwareVersion", offsetof(_AdapaterData, firmwareVersion));
    printRecord("_PDInfoData", sizeof(_PDInfoData));
    printField("pdAbsent", offsetof(_PDInfoData, pdAbsent));
    printField("deviceId", offsetof(_PDInfoData, deviceId));
    printField("pdStatus", offsetof(_PDInfoData, pdStatus));
    printField("modelNumber", offsetof(_PDInfoData, modelNumber));
    printField("serialNumber", offsetof(_PDInfoData, serialNumber));
    printField("blockSize", offsetof(_PDInfoData, blockSize));
    printField("fwVersion", offsetof(_PDInfoData, fwVersion));
    printField("size", offsetof(_PDInfoData, size));
    printField("hdId", offsetof(_PDInfoData, hdId));
    printRecord("_vdInfoData", sizeof(_vdInfoData));
    printField("vdAbsent", offsetof(_vdInfoData, vdAbsent));
    printField("vdId", offsetof(_vdInfoData, vdId));
    printField("vdStatus", offsetof(_vdInfoData, vdStatus));
    printField("raidMode", offsetof(_vdInfoData, raidMode));
    printField("memberCount", offsetof(_vdInfoData, memberCount));
    printField("size", offsetof(_vdInfoData, size));
    printField("memberIds", offsetof(_vdInfoData, memberIds));
    printField("stripeBlockSize", offsetof(_vdInfoData, stripeBlockSize));
    printField("blockSize", offsetof(_vdInfoData, blockSize));
    printField("vdName", offsetof(_vdInfoData, vdName));
    printRecord("_SMART_HEALTH_INFORMATION_LOG_ENTRY", sizeof(_SMART_HEALTH_INFORMATION_LOG_ENTRY));
    printField("criticalWarning", offsetof(_SMART_HEALTH_INFORMATION_LOG_ENTRY, criticalWarning));
    printField("temperature", offsetof(_SMART_HEALTH_INFORMATION_LOG_ENTRY, temperature));
    printField("availableSpare", offsetof(_SMART_HEALTH_INFORMATION_LOG_ENTRY, availableSpare));
    printField("availableSpareThreshold",
               offsetof(_SMART_HEALTH_INFORMATION_LOG_ENTRY, availableSpareThreshold));
    printField("percentageUsed", offsetof(_SMART_HEALTH_INFORMATION_LOG_ENTRY, percentageUsed));
    printRecord("_Event", sizeof(_Event));
    printField("eventClass", offsetof(_Event, eventClass));
    printField("eventCode", offsetof(_Event, eventCode));
    printField("timeStamp", offsetof(_Event, timeStamp));
    printField("deviceId", offsetof(_Event, deviceId));
    printField("severity", offsetof(_Event, severity));
    printField("sequenceNo", offsetof(_Event, sequenceNo));
    printField("description", offsetof(_Event, description));
}

}  // namespace

int main() {
    printPublicRecords();
    printClasses();
    printInternalRecords();
    return 0;
}
