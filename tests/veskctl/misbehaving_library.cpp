// A libVeskNvme.so that goes wrong where the environment variable MISBEHAVE says: "abort
// ZT_API_Initialize". Else it answers with samples.
#include "VeskNvme.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>

#include <unistd.h>

namespace {

void enter(const std::string& function) {
    const char* const wanted = std::getenv("MISBEHAVE");
    const std::string wish = wanted == nullptr ? "" : wanted;
    if (wish.substr(wish.find(' ') + 1) != function) {
        return;
    }
    const std::string how = wish.substr(0, wish.find(' '));
    if (how == "abort") {
        std::fputs("terminate called after\n  a test\n", stderr);
        std::abort();
    } else if (how == "crash") {
        std::signal(SIGSEGV, SIG_DFL);  // a sanitizer would make an exit of it
        raise(SIGSEGV);
    } else if (how == "exit") {
        _exit(7);
    } else if (how == "hang") {
        pause();
    } else if (how == "throw") {
        throw std::out_of_range("thrown in " + function);
    } else if (how == "print") {
        std::printf("printed in %s\n", function.c_str());
        std::fflush(stdout);
    } else if (how == "flood") {
        const std::string text(1 << 20, 'x');
        std::fputs(text.c_str(), stderr);
    }
}

UCHAR_ answerWith(const char* function, PInfo_Request request) {
    enter(function);
    request->recordCount = 1;
    std::memset(reinterpret_cast<char*>(request) + sizeof(Info_Request), request->id + 1, 4);
    return ERR_NONE;
}

}  // namespace

UCHAR_ ZT_API_Initialize() {
    enter("ZT_API_Initialize");
    return ERR_NONE;
}

UCHAR_ ZT_Adapter_GetCount() {
    enter("ZT_Adapter_GetCount");
    return 1;
}

UCHAR_ ZT_Adapter_GetInfo(UCHAR_ adapterId, UCHAR_* pCount, CController* pAdapterInfo) {
    enter("ZT_Adapter_GetInfo");
    *pCount = 3;
    std::memset(static_cast<void*>(pAdapterInfo), adapterId + 0x20, 304);
    return 9;
}

UCHAR_ ZT_PD_GetHDInfo_Ext(UCHAR_, PInfo_Request request) {
    return answerWith("ZT_PD_GetHDInfo_Ext", request);
}

UCHAR_ ZT_PD_GetConfig(UCHAR_, PInfo_Request request) {
    return answerWith("ZT_PD_GetConfig", request);
}

UCHAR_ ZT_PD_GetHDRaidStatus(UCHAR_, PInfo_Request request) {
    return answerWith("ZT_PD_GetHDRaidStatus", request);
}

UCHAR_ ZT_PD_GetFreeSpaceInfo(UCHAR_, PInfo_Request request) {
    return answerWith("ZT_PD_GetFreeSpaceInfo", request);
}

UCHAR_ ZT_PD_GET_SMART_INFO(UCHAR_, UCHAR_ pdId, UCHAR_, PSMART_INFO_ARRAY record) {
    std::memset(static_cast<void*>(record), pdId + 0x30, sizeof(*record));
    return ERR_NONE;
}

UCHAR_ ZT_PD_OEMData(UCHAR_, PPD_OEM_Data request) {
    return static_cast<UCHAR_>(request->pdId + request->ledStatus);
}

UCHAR_ ZT_LD_GetInfo(UCHAR_, PInfo_Request request) {
    return answerWith("ZT_LD_GetInfo", request);
}

UCHAR_ ZT_LD_GetConfig(UCHAR_, PInfo_Request request) {
    return answerWith("ZT_LD_GetConfig", request);
}

UCHAR_ ZT_EVT_GetEvent(UCHAR_, UCHAR_, UCHAR_* pCount, CEvent* pEvent) {
    enter("ZT_EVT_GetEvent");
    *pCount = 64;
    std::memset(static_cast<void*>(pEvent), 0x11, std::size_t{64} * 64);
    return ERR_FAIL;
}
