// The route to the controller as the rest of the library sees it.
//
// No locks. Discovery changes handle and bdf and must not overlap commands; commands of several
// threads may overlap, as they share only the read-only connection.
#pragma once

#include "transport/command_dword.h"
#include "transport/nvme_handle.h"

#include <utility>

class IZNVDeviceTalker {
public:
    IZNVDeviceTalker();
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
    HANDLE handle;
    BDF bdf;
};
