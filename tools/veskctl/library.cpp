#include "veskctl/library.h"

#include "veskctl/load_failure.h"

#include <dlfcn.h>
#include <link.h>

namespace veskctl {

namespace {

void* openLibrary(const std::string& requested) {
    void* handle = dlopen(requested.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        const char* text = dlerror();
        throw ProblemError(
            describeLoadFailure(requested, text != nullptr ? text : "no reason given"));
    }
    return handle;
}

std::string loadedPath(void* handle, const std::string& requested) {
    link_map* map = nullptr;
    if (dlinfo(handle, RTLD_DI_LINKMAP, &map) != 0 || map == nullptr || *map->l_name == '\0') {
        return requested;
    }
    return map->l_name;
}

template <class Function>
void resolve(void* handle, const std::string& path, const char* name, Function& function) {
    void* address = dlsym(handle, name);
    if (address == nullptr) {
        throw ProblemError(describeMissingSymbol(path, name));
    }
    function = reinterpret_cast<Function>(address);
}

}  // namespace

Library::Library(const std::string& requested) {
    void* handle = openLibrary(requested);
    m_path = loadedPath(handle, requested);
    resolve(handle, m_path, "ZT_API_Initialize", m_functions.initialize);
    resolve(handle, m_path, "ZT_Adapter_GetCount", m_functions.adapterGetCount);
    resolve(handle, m_path, "ZT_Adapter_GetInfo", m_functions.adapterGetInfo);
    resolve(handle, m_path, "ZT_PD_GetHDInfo_Ext", m_functions.diskInfo);
    resolve(handle, m_path, "ZT_PD_GetConfig", m_functions.diskConfig);
    resolve(handle, m_path, "ZT_PD_GetHDRaidStatus", m_functions.diskRaidStatus);
    resolve(handle, m_path, "ZT_PD_GetFreeSpaceInfo", m_functions.diskFreeSpace);
    resolve(handle, m_path, "ZT_PD_GET_SMART_INFO", m_functions.diskHealth);
    resolve(handle, m_path, "ZT_PD_OEMData", m_functions.diskLocate);
    resolve(handle, m_path, "ZT_LD_GetInfo", m_functions.volumeInfo);
    resolve(handle, m_path, "ZT_LD_GetConfig", m_functions.volumeConfig);
    resolve(handle, m_path, "ZT_EVT_GetEvent", m_functions.getEvents);
}

}  // namespace veskctl
