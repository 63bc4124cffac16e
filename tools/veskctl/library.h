// libVeskNvme.so, loaded at run time: the file and the table of its functions.
// Loading touches no device.
#pragma once

#include "veskctl/problem.h"

#include "VeskNvme.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

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
    // The file of the host's management library that it found.
    const std::string& platformPath() const { return m_platformPath; }
    // Whether the host's management library that it found is the simulated one.
    bool simulated() const { return m_simulated; }
    const LibraryFunctions& functions() const { return m_functions; }

private:
    std::string m_path;
    std::string m_platformPath;
    bool m_simulated = false;
    LibraryFunctions m_functions;
};

// Puts the loader's complaint into words that say what to do. requested: what dlopen was asked for.
// loaderText: what dlerror said then.
Problem describeLoadFailure(const std::string& requested, const std::string& loaderText);

// The file was loaded, and lacks a function. file: the path that was loaded.
Problem describeMissingSymbol(const std::string& file, const std::string& symbol);

constexpr unsigned kIdCount = 2;  // ids of disks and of volumes are 0 and 1

using RecordFunction = UCHAR_ (*)(UCHAR_ adapterId, PInfo_Request request);

template <class Record>
struct SingleAnswer {
    bool failed = false;           // noted among the problems
    std::optional<Record> record;  // empty without a failure: there is none with this id
};

// Asks for the record of one disk or volume. Always for a single one: an answer to "all" leaves out
// what is absent, so its places do not say which id they belong to. name: the function's, and
// about: what is asked for, both for the problem.
template <class Record>
SingleAnswer<Record> requestSingle(RecordFunction function, const char* name, unsigned id,
                                   const std::string& about, std::vector<Problem>& problems) {
    struct Answer {
        Info_Request header;
        Record record;
    };
    static_assert(offsetof(Answer, record) == sizeof(Info_Request), "the library packs them so");

    Answer answer = {};
    answer.header.requestType = REQUEST_SINGLE;
    answer.header.id = static_cast<UCHAR_>(id);
    const UCHAR_ result = function(0, reinterpret_cast<PInfo_Request>(&answer));
    SingleAnswer<Record> single;
    if (result != ERR_NONE) {
        problems.push_back(libraryCallFailed(name, result, about));
        single.failed = true;
    } else if (answer.header.recordCount > 0) {
        single.record = answer.record;
    }
    return single;
}

}  // namespace veskctl
