// What discovery asks of the platform: the list of adapters, a connection to one of them, and the
// PCI address of one of them.
#pragma once

#include "transport/nvme_adapter_list.h"
#include "transport/nvme_handle.h"

namespace stg {

class CVmwareZNVDeviceTalker_Helper {
public:
    // Fills the list. 0, or the platform's code.
    INTEGER getAllNVMeAdapters(nvme_adapter_list* list);

    // Opens a connection to the adapter and fills the handle record. 0, or the platform's code.
    INTEGER getDeviceHandle(nvme_handle* adapter, nvmeAdapterInfo info);

    // Looks the adapter's PCI address up in the host's text file. 0, or 1 with the address in
    // parts.
    RESULT findAndSetBDF(HANDLE adapter, BDF& address);
};

}  // namespace stg
