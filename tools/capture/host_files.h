// The host's files that the library reads, and what comes of it shows in its answers.
#pragma once

#include <array>

namespace veskcap {

constexpr std::array<const char*, 6> kHostFiles = {
    "/opt/orvo/pciconfig/Templspcibdf.txt",
    "/opt/orvo/pciconfig/Templspciconfig.txt",
    "/opt/orvo/kelpdesk/etc/kelpdesk-storage/libVeskNVMeConfig.ini",
    "/opt/orvo/kelpdesk/etc/kelpdesk-storage/libVeskNVMeAlertMapping.ini",
    "/etc/cim/orvo/kelpdesk/kelpdesk-storage/libVeskNVMeConfig.ini",
    "/etc/cim/orvo/kelpdesk/kelpdesk-storage/libVeskNVMeAlertMapping.ini",
};

}  // namespace veskcap
