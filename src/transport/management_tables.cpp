#include "transport/management_tables.h"

// Lists the NVMe adapters: their count, and an array of up to 64 entries.
const ManagementCallback globalCallbacks[1] = {
    {1,
     0,
     nullptr,
     1,
     2,
     0,
     {4, 5120, 0, 0},
     {kParameterOut, kParameterOut, 0, 0},
     0,
     kAdapterListCallback},
};

const ManagementCallback nvmeCallbacks[2] = {
    // Part of the adapter's signature; never invoked from here.
    {1, 0, nullptr, 1, 2, 0, {4, 208, 0, 0}, {kParameterIn, kParameterOut, 0, 0}, 0, 16},
    // Pass-through: the request code and the nvme_uio.
    {1,
     0,
     nullptr,
     1,
     2,
     0,
     {4, 120, 0, 0},
     {kParameterIn, kParameterInOut, 0, 0},
     0,
     kPassThroughCallback},
};

const ManagementSignature globalSignature = {kManagementVersion, "nvmeMgmt", "VMware", 1,
                                             globalCallbacks};
