// The route to the controller as the rest of the library sees it, and the one place where it is
// kept.
//
// No locks. Discovery changes handle and bdf and must not overlap commands; commands of several
// threads may overlap, as they share only the read-only connection.
#pragma once

#include "transport/command_dword.h"
#include "transport/nvme_handle.h"

#include <utility>

class IZNVDeviceTalker;

namespace stg {

// The talker of the pair below if commands may use it: null before set-up and after tear-down.
// The pair keeps its pointer when its talker is destroyed; a command that follows would call into
// freed memory.
IZNVDeviceTalker* liveDeviceTalker();

// For constructors: whatever lay at this address before, a talker lies there now.
void markTalkerLive(const IZNVDeviceTalker* talker);

}  // namespace stg

class IZNVDeviceTalker {
public:
    IZNVDeviceTalker();
    IZNVDeviceTalker(const IZNVDeviceTalker& other) : handle(other.handle), bdf(other.bdf) {
        stg::markTalkerLive(this);
    }
    IZNVDeviceTalker& operator=(const IZNVDeviceTalker& other) = default;
    virtual ~IZNVDeviceTalker();

    // Looks for the controller anew, and keeps the connection to it.
    virtual BOOL_TYPE checkControllerExistence() = 0;
    virtual UCHAR_ getControllerCount() = 0;  // 0 or 1; as above
    virtual VOID_ destroyOSdeviceTalker() = 0;
    // Both: 0 success, 1 failure of any kind.
    virtual RESULT executeCMD(CCommandDword* command, ULONG_INT code) = 0;
    virtual RESULT executeIOCTL(znvTalkerMulti* request) = 0;

    HANDLE getHandle();  // an nvme_handle*, null until the controller was found
    VOID_ setHandle(HANDLE newHandle);
    BDF getBDF();
    VOID_ setBDF(BDF address);

    // Name of the operating system and the talker for it. Written at set-up only; the pointer is
    // not cleared when the talker goes.
    static std::pair<STDSTR, IZNVDeviceTalker*> OS_OSTYPEPTR_PAIR;

private:
    HANDLE handle = nullptr;
    BDF bdf = {0, 0, 0};
};
