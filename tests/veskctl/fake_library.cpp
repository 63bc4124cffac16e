#include "fake_library.h"

#include <algorithm>
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

}  // namespace

FakeLibrary::FakeLibrary() {
    current = this;
}

FakeLibrary::~FakeLibrary() {
    current = nullptr;
}

veskctl::LibraryFunctions FakeLibrary::functions() const {
    veskctl::LibraryFunctions functions;
    functions.adapterGetInfo = [](UCHAR_, UCHAR_*, CController* record) {
        const int result = enter("adapterGetInfo", 0);
        if (current->controller) {
            std::memcpy(static_cast<void*>(record), current->controller->data(), 304);
        }
        return static_cast<UCHAR_>(result);
    };
    functions.diskInfo = [](UCHAR_, PInfo_Request request) {
        return answer("diskInfo", request, &Slot::info);
    };
    functions.diskConfig = [](UCHAR_, PInfo_Request request) {
        return answer("diskConfig", request, &Slot::config);
    };
    functions.diskRaidStatus = [](UCHAR_, PInfo_Request request) {
        return answer("diskRaidStatus", request, &Slot::raidStatus);
    };
    functions.diskFreeSpace = [](UCHAR_, PInfo_Request request) {
        return answer("diskFreeSpace", request, &Slot::freeSpace);
    };
    functions.volumeInfo = [](UCHAR_, PInfo_Request request) {
        return answer("volumeInfo", request, &Slot::volumeInfo);
    };
    functions.volumeConfig = [](UCHAR_, PInfo_Request request) {
        return answer("volumeConfig", request, &Slot::volumeConfig);
    };
    functions.diskHealth = [](UCHAR_, UCHAR_ id, UCHAR_, PSMART_INFO_ARRAY record) {
        const int result = enter("diskHealth", id);
        if (current->slots.at(id).health) {
            *record = *current->slots.at(id).health;
        }
        return static_cast<UCHAR_>(result);
    };
    functions.diskLocate = [](UCHAR_, PPD_OEM_Data request) {
        const std::string name = request->ledStatus != 0 ? "diskLocate on" : "diskLocate off";
        return static_cast<UCHAR_>(enter(name, request->pdId));
    };
    functions.getEvents = [](UCHAR_, UCHAR_, UCHAR_* count, CEvent* records) {
        const int result = enter("getEvents", 0);
        *count = static_cast<UCHAR_>(current->events.size());
        auto* bytes = reinterpret_cast<std::uint8_t*>(records);
        for (const auto& event : current->events) {
            bytes = std::copy(event.begin(), event.end(), bytes);
        }
        return static_cast<UCHAR_>(result);
    };
    return functions;
}
