// libVeskNvme.so, loaded at run time: the file and the table of its functions. Loading touches no
// device.
#pragma once

#include "VeskNvme.h"

#include <string>

namespace veskctl {

constexpr const char* kDefaultLibrary = "libVeskNvme.so";

struct LibraryFunctions {
    decltype(&ZT_API_Initialize) initialize = nullptr;
    decltype(&ZT_Adapter_GetCount) adapterGetCount = nullptr;
    decltype(&ZT_Adapter_GetInfo) adapterGetInfo = nullptr;
    decltype(&ZT_PD_GetHDInfo_Ext) diskInfo = nullptr;
    decltype(&ZT_PD_GetConfig) diskConfig = nullptr;
    decltype(&ZT_PD_GetHDRaidStatus) diskRaidStatus = nullptr;
    decltype(&ZT_PD_GetFreeSpaceInfo) diskFreeSpace = nullptr;
    decltype(&ZT_PD_GET_SMART_INFO) diskHealth = nullptr;
    decltype(&ZT_PD_OEMData) diskLocate = nullptr;
    decltype(&ZT_LD_GetInfo) volumeInfo = nullptr;
    decltype(&ZT_LD_GetConfig) volumeConfig = nullptr;
    decltype(&ZT_EVT_GetEvent) getEvents = nullptr;
};

class Library {
public:
    // Loads the file and resolves all functions. Throws ProblemError. The library stays loaded
    // until the process ends: its thread may be running in it.
    explicit Library(const std::string& requested);

    const std::string& path() const { return m_path; }
    const LibraryFunctions& functions() const { return m_functions; }

private:
    std::string m_path;
    LibraryFunctions m_functions;
};

}  // namespace veskctl
