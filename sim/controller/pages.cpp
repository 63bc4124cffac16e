#include "sim/controller/pages.h"

#include <algorithm>

namespace vesksim {

void Reply::putNumber(std::size_t offset, std::uint64_t value, std::size_t width) {
    for (std::size_t i = 0; i < width; ++i) {
        m_bytes.at(offset + i) = static_cast<std::uint8_t>(value >> (8U * i));
    }
}

void Reply::put128(std::size_t offset, std::uint64_t value) {
    put64(offset, value);
    put64(offset + 8, 0);
}

void Reply::putText(std::size_t offset, std::size_t width, const std::string& text, char padding) {
    for (std::size_t i = 0; i < width; ++i) {
        m_bytes.at(offset + i) = static_cast<std::uint8_t>(i < text.size() ? text[i] : padding);
    }
}

void Reply::clear(std::size_t offset, std::size_t width) {
    putText(offset, width, std::string(), '\0');
}

std::vector<std::uint8_t> identifyPage(const Adapter& adapter, std::uint64_t noiseSeed) {
    Reply page(4096, noiseSeed);
    page.put16(0, adapter.pciIds.vendor);
    page.put16(2, adapter.pciIds.subsystemVendor);
    page.putText(4, 20, adapter.serial, adapter.textPadding);
    page.putText(24, 40, adapter.model, adapter.textPadding);
    page.putText(64, 8, adapter.firmwareRevision, adapter.textPadding);
    page.put8(77, 5);            // MDTS: 2^5 pages, 128 KiB
    page.put16(78, 0);           // controller id
    page.put32(80, 0x00010300);  // NVMe 1.3
    page.put32(516, static_cast<std::uint32_t>(adapter.volumes.size()));  // namespaces
    return page.take();
}

std::vector<std::uint8_t> adapterInfoPage(const Adapter& adapter, std::uint64_t noiseSeed) {
    Reply page(4096, noiseSeed);
    page.put16(24, adapter.pciIds.vendor);
    page.put16(26, adapter.pciIds.subsystemVendor);
    page.put16(28, adapter.pciIds.device);
    page.put16(30, adapter.pciIds.subsystemDevice);
    page.put8(33, adapter.portCount);
    page.put8(35, adapter.reportedVolumeCount.value_or(
                      static_cast<std::uint8_t>(adapter.volumes.size())));
    page.put8(36,
              adapter.reportedDiskCount.value_or(static_cast<std::uint8_t>(adapter.disks.size())));
    page.put16(48, adapter.maxBufferSize);
    page.put8(164, adapter.pciAddress.function);
    page.put8(165, adapter.pciAddress.device);
    page.put8(166, adapter.pciAddress.bus);
    page.put8(167, 0);
    page.put16(168, adapter.firmware.major);
    page.put16(170, adapter.firmware.minor);
    page.put16(172, adapter.firmware.revision);
    page.put16(174, adapter.firmware.build);
    return page.take();
}

const Disk* findDisk(const Adapter& adapter, std::uint32_t id) {
    const auto found = std::find_if(adapter.disks.begin(), adapter.disks.end(),
                                    [id](const Disk& disk) { return disk.id == id; });
    return found == adapter.disks.end() ? nullptr : &*found;
}

std::vector<std::uint8_t> physicalDiskReply(const Adapter& adapter, std::uint32_t id,
                                            std::uint64_t noiseSeed) {
    Reply reply(4096, noiseSeed);
    const Disk* disk = findDisk(adapter, id);
    reply.put8(4, disk == nullptr ? 1 : 0);
    if (disk == nullptr) {
        reply.clear(8, 3);
        reply.clear(20, 72);
        reply.clear(96, 10);
        return reply.take();
    }
    reply.put16(8, disk->deviceId);
    reply.put8(10, disk->status);
    reply.putText(20, 40, disk->model, adapter.textPadding);
    reply.putText(60, 20, disk->serial, adapter.textPadding);
    reply.put32(80, disk->blockSize);
    reply.putText(84, 8, disk->firmware, adapter.textPadding);
    reply.put64(96, disk->size);
    reply.put16(104, disk->hdId);
    return reply.take();
}

std::vector<std::uint8_t> virtualDiskReply(const Adapter& adapter, std::uint32_t id,
                                           std::uint64_t noiseSeed) {
    Reply reply(4096, noiseSeed);
    const auto found = std::find_if(adapter.volumes.begin(), adapter.volumes.end(),
                                    [id](const Volume& volume) { return volume.id == id; });
    reply.put8(4, found == adapter.volumes.end() ? 1 : 0);
    if (found == adapter.volumes.end()) {
        reply.clear(8, 3);
        reply.clear(12, 2);
        reply.clear(16, 95);
        return reply.take();
    }
    reply.put16(8, found->vdId);
    reply.put8(10, found->status);
    reply.put8(12, found->raidMode);
    reply.put8(13, static_cast<std::uint8_t>(found->members.size()));
    reply.put64(16, found->size);
    // Places behind the last member keep their noise: only the first memberCount of them count.
    for (std::size_t i = 0; i < found->members.size(); ++i) {
        reply.put16(24 + 2 * i, found->members[i]);
    }
    reply.put16(90, found->stripeBlockSize);
    reply.put32(92, found->blockSize);
    reply.putText(96, 15, found->name, adapter.textPadding);
    return reply.take();
}

std::vector<std::uint8_t> smartPage(const Smart& smart, std::uint64_t noiseSeed) {
    Reply page(512, noiseSeed);
    page.put8(0, smart.criticalWarning);
    page.put16(1, smart.temperatureKelvin);
    page.put8(3, smart.availableSpare);
    page.put8(4, smart.availableSpareThreshold);
    page.put8(5, smart.percentageUsed);
    page.put128(32, smart.dataUnitsRead);
    page.put128(48, smart.dataUnitsWritten);
    page.put128(64, smart.hostReads);
    page.put128(80, smart.hostWrites);
    page.put128(96, smart.busyMinutes);
    page.put128(112, smart.powerCycles);
    page.put128(128, smart.powerOnHours);
    page.put128(144, smart.unsafeShutdowns);
    page.put128(160, smart.mediaErrors);
    page.put128(176, smart.errorLogEntries);
    page.put32(192, 0);   // minutes above the warning temperature
    page.put32(196, 0);   // minutes above the critical temperature
    page.clear(200, 16);  // no further temperature sensors
    return page.take();
}

}  // namespace vesksim
