// The one error state of the process: whatever fails writes its code here, the exported functions
// return it. A plain integer, last writer wins: a call may see the failure of another thread.
#pragma once

#include "VeskNvme.h"

class VeskNVMeLibrary_Error {
public:
    // Logs the line of the code, then stores it. ERR_NONE clears.
    static VOID_ setErrorCode(INTEGER code);
    static INTEGER getErrorCode();

private:
    static INTEGER m_errorCode;
};

// What a handler does with a failure that the caller shall see: logs the text, then sets the code.
void recordFailure(const char* text, INTEGER code);
