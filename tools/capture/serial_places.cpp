#include "capture/serial_places.h"

namespace veskcap {

namespace {

constexpr UCHAR_ kIdentify = 0x06;
constexpr UCHAR_ kVendor = 0xE2;
constexpr UNSIGNED_INTEGER kController = 1;  // low byte of cdw10 of Identify
constexpr UNSIGNED_INTEGER kDiskInformation = 0xE1;
constexpr UNSIGNED_INTEGER kEventLog = 0x4FE;

nvme_uio read(UCHAR_ opcode, void* buffer) {
    nvme_uio command = {};
    command.opcode = opcode;
    command.direction = 1;
    command.dataLength = kReplySize;
    command.timeout = kCommandTimeout;
    command.dataAddress = buffer;
    return command;
}

}  // namespace

const SerialPlace* serialPlace(const nvme_uio& command) {
    if (command.opcode == kIdentify && (command.cdw10 & 0xFFU) == kController) {
        return &kIdentifySerial;
    }
    if (command.opcode == kVendor && command.cdw12 == kDiskInformation) {
        return &kDiskSerial;
    }
    return nullptr;
}

bool readsEventLog(const nvme_uio& command) {
    return command.opcode == kVendor && command.cdw12 == kEventLog;
}

nvme_uio identifyCommand(void* buffer) {
    nvme_uio command = read(kIdentify, buffer);
    command.cdw10 = kController;
    return command;
}

nvme_uio diskCommand(unsigned disk, void* buffer) {
    nvme_uio command = read(kVendor, buffer);
    command.cdw10 = kReplySize / 4;
    command.cdw12 = kDiskInformation;
    command.cdw14 = disk;
    return command;
}

}  // namespace veskcap
