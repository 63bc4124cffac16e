#include "veskctl/library.h"

#include "veskctl/format.h"

#include <dlfcn.h>
#include <link.h>
#include <sys/stat.h>

namespace veskctl {

namespace {

// The host's management library, which libVeskNvme.so needs.
constexpr const char* kHostLibrary = "libvmkmgmt.so";
// What only the simulated one of them exports.
constexpr const char* kPlatformFunction = "vmk_MgmtUserInit";
constexpr const char* kSimulatedMark = "vesksim_is_simulated";

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

std::string baseName(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

// The loader's texts begin with the file that they are about.
std::string fileOf(const std::string& loaderText) {
    const std::size_t end = loaderText.find(": ");
    return end == std::string::npos ? std::string() : loaderText.substr(0, end);
}

std::string adviceForNotFound(const std::string& requested) {
    if (requested.find('/') != std::string::npos) {
        return "check the path";
    }
    return "install it, add its folder to LD_LIBRARY_PATH, or name the file with --library (with a "
           "slash, as in ./libVeskNvme.so, if it is in the current folder)";
}

Problem dependencyMissing(const std::string& requested, const std::string& dependency) {
    const std::string advice =
        contains(dependency, kHostLibrary)
            ? "it belongs to the ESXi host: run veskctl on the host, or add the folder that holds "
              "it to LD_LIBRARY_PATH"
            : "install it, or add the folder that holds it to LD_LIBRARY_PATH";
    return {ProblemKind::LibraryDependencyMissing,
            format("{} needs {}, which was not found; {}", requested, dependency, advice)};
}

// A FIFO would be waited for, and nothing good comes of mapping a device. Names without a slash are
// the loader's business.
void refuseWhatIsNoFile(const std::string& requested) {
    struct stat status = {};
    if (requested.find('/') != std::string::npos && stat(requested.c_str(), &status) == 0 &&
        !S_ISREG(status.st_mode)) {
        throw ProblemError(
            {ProblemKind::LibraryUnusable,
             format("{} is no file: name a libVeskNvme.so with --library", requested)});
    }
}

void* openLibrary(const std::string& requested) {
    refuseWhatIsNoFile(requested);
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

// Empty if it is in none.
std::string fileWith(void* address) {
    Dl_info info = {};
    const bool found = address != nullptr && dladdr(address, &info) != 0;
    return found && info.dli_fname != nullptr ? info.dli_fname : "";
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

Problem describeLoadFailure(const std::string& requested, const std::string& loaderText) {
    const std::string file = fileOf(loaderText);
    const bool aboutRequested = baseName(file) == baseName(requested);

    if (contains(loaderText, "No such file or directory")) {
        if (!aboutRequested) {
            return dependencyMissing(requested, file);
        }
        return {ProblemKind::LibraryNotFound, format("the library {} was not found; {}", requested,
                                                     adviceForNotFound(requested))};
    }

    std::string advice;
    if (contains(loaderText, "Permission denied")) {
        advice = "run veskctl as root, or make the file readable";
    } else if (contains(loaderText, "Operation not permitted")) {
        advice = "the host allows no code from there: install the library from its package";
    } else if (contains(loaderText, "' not found (required by")) {
        advice = "it was built for a newer system: install the build for this host";
    } else if (contains(loaderText, "undefined symbol")) {
        advice = contains(loaderText, "vmk_")
                     ? format("the {} that was found lacks what the library needs: use the "
                              "one of the ESXi host",
                              kHostLibrary)
                     : "a library that it needs is of another version";
    } else if (!aboutRequested) {
        advice = "replace the damaged or foreign file";
    } else {
        advice = "the file is damaged or no libVeskNvme.so for this machine: name the right one "
                 "with --library";
    }
    return {ProblemKind::LibraryUnusable,
            format("the library {} cannot be loaded ({}); {}", requested, loaderText, advice)};
}

Problem describeMissingSymbol(const std::string& file, const std::string& symbol) {
    return {ProblemKind::LibrarySymbolMissing,
            format("{} has no function {}: it is no libVeskNvme.so, or one of another "
                   "version; name the right one with --library",
                   file, symbol)};
}

Library::Library(const std::string& requested) {
    void* handle = openLibrary(requested);
    m_path = loadedPath(handle, requested);
    m_platformPath = fileWith(dlsym(handle, kPlatformFunction));
    m_simulated = dlsym(handle, kSimulatedMark) != nullptr;
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
