#include "adapter_pages.h"

#include "reply.h"

namespace vesksim {

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

}  // namespace vesksim
