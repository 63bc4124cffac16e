#include "fake_library.h"

#include <cstring>
#include <stdexcept>

namespace {

FakeLibrary* current = nullptr;

int enter(const std::string& name, unsigned id) {
    current->calls.push_back(name + ' ' + std::to_string(id));
    if (current->throwing == name) {
        throw std::runtime_error("thrown by " + name);
    }
    const auto result = current->results.find(name);
    return result == current->results.end() ? ERR_NONE : result->second;
}

template <class Record>
UCHAR_ answer(const std::string& name, PInfo_Request request,
              std::optional<Record> FakeLibrary::Slot::*field) {
    const int result = enter(name, request->id);
    request->recordCount = 0;
    request->recordSize = 0xFFFF;
    if (request->requestType != REQUEST_SINGLE) {
        throw std::logic_error("a single disk is to be asked for");
    }
    const std::optional<Record>& record = current->slots.at(request->id).*field;
    if (result == ERR_NONE && record) {
        request->recordCount = 1;
        std::memcpy(reinterpret_cast<std::uint8_t*>(request) + 16,
                    static_cast<const void*>(&*record), sizeof(Record));
    }
    return static_cast<UCHAR_>(result);
}

UCHAR_ diskInfo(UCHAR_, PInfo_Request request) {
    return answer("diskInfo", request, &FakeLibrary::Slot::info);
}

UCHAR_ diskConfig(UCHAR_, PInfo_Request request) {
    return answer("diskConfig", request, &FakeLibrary::Slot::config);
}

UCHAR_ diskRaidStatus(UCHAR_, PInfo_Request request) {
    return answer("diskRaidStatus", request, &FakeLibrary::Slot::raidStatus);
}

UCHAR_ diskFreeSpace(UCHAR_, PInfo_Request request) {
    return answer("diskFreeSpace", request, &FakeLibrary::Slot::freeSpace);
}

UCHAR_ volumeInfo(UCHAR_, PInfo_Request request) {
    return answer("volumeInfo", request, &FakeLibrary::Slot::volumeInfo);
}

UCHAR_ volumeConfig(UCHAR_, PInfo_Request request) {
    return answer("volumeConfig", request, &FakeLibrary::Slot::volumeConfig);
}

UCHAR_ diskHealth(UCHAR_, UCHAR_ id, UCHAR_, PSMART_INFO_ARRAY record) {
    const int result = enter("diskHealth", id);
    if (current->slots.at(id).health) {
        *record = *current->slots.at(id).health;
    }
    return static_cast<UCHAR_>(result);
}

UCHAR_ diskLocate(UCHAR_, PPD_OEM_Data request) {
    const std::string name = request->ledStatus != 0 ? "diskLocate on" : "diskLocate off";
    return static_cast<UCHAR_>(enter(name, request->pdId));
}

UCHAR_ getEvents(UCHAR_, UCHAR_, UCHAR_* count, CEvent* records) {
    const int result = enter("getEvents", 0);
    *count = static_cast<UCHAR_>(current->events.size());
    auto* bytes = reinterpret_cast<std::uint8_t*>(records);
    for (const auto& event : current->events) {
        std::memcpy(bytes, event.data(), event.size());
        bytes += event.size();
    }
    return static_cast<UCHAR_>(result);
}

}  // namespace

FakeLibrary::FakeLibrary() {
    current = this;
}

FakeLibrary::~FakeLibrary() {
    current = nullptr;
}

veskctl::LibraryFunctions FakeLibrary::functions() const {
    veskctl::LibraryFunctions functions;
    functions.diskInfo = diskInfo;
    functions.diskConfig = diskConfig;
    functions.diskRaidStatus = diskRaidStatus;
    functions.diskFreeSpace = diskFreeSpace;
    functions.diskHealth = diskHealth;
    functions.diskLocate = diskLocate;
    functions.volumeInfo = volumeInfo;
    functions.volumeConfig = volumeConfig;
    functions.getEvents = getEvents;
    return functions;
}
