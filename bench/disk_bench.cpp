// The exported calls about disks, each beside hand-written code with the same device commands and
// two zeroed buffers: the replies of both disks, or the reply and the record of the one asked for.
#include "bench.h"
#include "connected_library.h"
#include "copying_driver.h"

#include "VeskNvme.h"

#include <cstdlib>
#include <cstring>

namespace {

// Room for a request and what may come behind it.
struct Request {
    Info_Request header = {};
    char records[2 * sizeof(VD_Info)] = {};
};

Request g_request;
SMART_INFO_ARRAY g_health;

// The zeroed buffer of one command.
class Buffer {
public:
    explicit Buffer(std::size_t size) : m_bytes(std::calloc(1, size)) {}
    ~Buffer() { std::free(m_bytes); }
    Buffer(const Buffer&) = delete;
    Buffer& operator=(const Buffer&) = delete;
    void* get() const { return m_bytes; }
    template <typename Record>
    const Record& as() const {
        return *static_cast<const Record*>(m_bytes);
    }

private:
    void* m_bytes;
};

template <std::size_t N>
void copyText(char (&field)[N], const char* text) {
    std::memcpy(field, text, strnlen(text, N - 1));
}

PD_Info diskInfo(const _PDInfoData& disk) {
    PD_Info info = {};
    info.deviceId = disk.deviceId;
    info.hdType = 0x40;
    copyText(info.modelNumber, disk.modelNumber);
    copyText(info.serialNumber, disk.serialNumber);
    copyText(info.firmwareVersion, disk.fwVersion);
    info.size = disk.size;
    info.blockSize = disk.blockSize;
    info.hdSsdType = 1;
    return info;
}

PD_Config diskConfig(const _PDInfoData& disk) {
    PD_Config config = {};
    config.writeCacheOn = 1;
    config.smartOn = 1;
    config.online = disk.pdStatus & kOnlineBit;
    config.driveSpeed = 3;
    config.hdId = disk.hdId;
    return config;
}

PD_RaidStatus raidStatus(const _PDInfoData& disk) {
    PD_RaidStatus status = {};
    status.hdId = disk.hdId;
    status.raidStatus = disk.pdStatus;
    return status;
}

PD_FreeSpaceInfo freeSpace(const _PDInfoData& disk) {
    PD_FreeSpaceInfo space = {};
    space.deviceId = disk.deviceId;
    space.blockSize = static_cast<USHORT_INT>(disk.blockSize & 0xFFFF);
    space.size = (disk.pdStatus & kOnlineBit) != 0 ? 0 : disk.size;
    return space;
}

VD_Info volumeInfo(const _vdInfoData& volume) {
    VD_Info info = {};
    info.id = volume.vdId;
    info.status = volume.vdStatus;
    info.stripeBlockSize = volume.stripeBlockSize;
    info.raidMode = volume.raidMode;
    info.hdCount = volume.memberCount;
    info.cacheMode = 1;
    info.size = volume.size;
    copyText(info.name, volume.vdName);
    info.blockSize = volume.blockSize;
    return info;
}

VD_Config volumeConfig(const _vdInfoData& volume) {
    VD_Config config = {};
    config.autoRebuildOn = 1;
    config.status = volume.vdStatus;
    config.ldId = volume.vdId;
    copyText(config.name, volume.vdName);
    return config;
}

// A command for each of both disks, and the records of those that are there.
template <typename Record, typename Reply>
void floorOfDisks(UNSIGNED_INTEGER subCommand, Record (*decode)(const Reply&)) {
    USHORT_INT count = 0;
    for (UNSIGNED_INTEGER id = 0; id < 2; ++id) {
        const Buffer buffer(0x1000);
        nvme_uio uio = bench::readCommand(subCommand, id, buffer.get());
        bench::send(uio);
        const bool absent = static_cast<const char*>(buffer.get())[4] != 0;
        if (!absent) {
            const Record record = decode(buffer.as<Reply>());
            std::memcpy(g_request.records + count * sizeof(Record), &record, sizeof(Record));
            ++count;
        }
    }
    g_request.header.recordCount = count;
    g_request.header.recordSize = count > 1 ? sizeof(Record) : 0xFFFF;
}

// The same for one disk, of which a copy of what was asked for is kept while it is decoded.
template <typename Record, typename Reply>
void floorOfDisk(UNSIGNED_INTEGER subCommand, Record (*decode)(const Reply&)) {
    const Buffer disk(sizeof(Reply));
    {
        const Buffer buffer(0x1000);
        nvme_uio uio = bench::readCommand(subCommand, 1, buffer.get());
        bench::send(uio);
        std::memcpy(disk.get(), buffer.get(), sizeof(Reply));
    }
    const bool absent = static_cast<const char*>(disk.get())[4] != 0;
    if (!absent) {
        const Record record = decode(disk.as<Reply>());
        std::memcpy(g_request.records, &record, sizeof(Record));
    }
    g_request.header.recordCount = absent ? 0 : 1;
    g_request.header.recordSize = 0xFFFF;
}

void floorOfHealth() {
    const Buffer disk(0x1000);
    nvme_uio uio = bench::readCommand(0xE1, 1, disk.get());
    bench::send(uio);
    const Buffer page(0x200);
    nvme_uio health = bench::readCommand(0, 2, page.get());
    health.opcode = 0xC2;
    health.nsid = 1;
    health.cdw10 = 0x7F0002;
    health.cdw15 = 0xFFFFFFFF;
    health.dataLength = 0x200;
    health.namespaceId = 1;
    bench::send(health);
    if (disk.as<_PDInfoData>().pdAbsent == 0) {
        const auto& entry = page.as<_SMART_HEALTH_INFORMATION_LOG_ENTRY>();
        g_health = {};
        g_health.smartStatus = (disk.as<_PDInfoData>().pdStatus & kSmartBit) != 0 ? 1 : 0x4F;
        SMART_ATTRIBUTE& life = g_health.attributes[0];
        copyText(life.name, "Percent Drive Life Remaining");
        life.currentValue = entry.percentageUsed;
        SMART_ATTRIBUTE& spare = g_health.attributes[1];
        spare.id = 1;
        copyText(spare.name, "Available Spare");
        spare.currentValue = entry.availableSpare;
        spare.thresholdValue = entry.availableSpareThreshold;
    }
}

using DiskCall = UCHAR_ (*)(UCHAR_, PInfo_Request);

template <typename Record, typename Reply>
void addRow(const std::string& row, DiskCall call, UCHAR_ requestType, UNSIGNED_INTEGER subCommand,
            Record (*decode)(const Reply&)) {
    bench::addLoop(row, "library", [call, requestType] {
        g_request.header.requestType = requestType;
        g_request.header.id = 1;
        call(0, &g_request.header);
        benchmark::DoNotOptimize(g_request);
    });
    bench::addLoop(row, "floor", [requestType, subCommand, decode] {
        if (requestType == REQUEST_ALL) {
            floorOfDisks(subCommand, decode);
        } else {
            floorOfDisk(subCommand, decode);
        }
        benchmark::DoNotOptimize(g_request);
    });
}

}  // namespace

void bench::addRows() {
    connectLibrary();
    addRow("PD_GetHDInfo_Ext", ZT_PD_GetHDInfo_Ext, REQUEST_ALL, 0xE1, diskInfo);
    addRow("PD_GetConfig", ZT_PD_GetConfig, REQUEST_ALL, 0xE1, diskConfig);
    addRow("PD_GetHDRaidStatus", ZT_PD_GetHDRaidStatus, REQUEST_SINGLE, 0xE1, raidStatus);
    addRow("PD_GetFreeSpaceInfo", ZT_PD_GetFreeSpaceInfo, REQUEST_SINGLE, 0xE1, freeSpace);
    addLoop("PD_GET_SMART_INFO", "library", [] {
        ZT_PD_GET_SMART_INFO(0, 1, 0, &g_health);
        benchmark::DoNotOptimize(g_health);
    });
    addLoop("PD_GET_SMART_INFO", "floor", [] {
        floorOfHealth();
        benchmark::DoNotOptimize(g_health);
    });
    addRow("LD_GetInfo", ZT_LD_GetInfo, REQUEST_ALL, 0xE2, volumeInfo);
    addRow("LD_GetConfig", ZT_LD_GetConfig, REQUEST_ALL, 0xE2, volumeConfig);
}
