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

namespace stg {

// A failure that the caller of the library shall see: logs the text, and what stands behind it on
// the same line, then sets the code.
void recordFailure(INTEGER code, const char* text, const char* detail = "");

}  // namespace stg
