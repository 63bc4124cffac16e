// How far the library's own reading of the controller's event log got, and what of it failed. The
// library does not tell: a page that could not be read is one without events to it. So the program
// stands between the library and the platform's: its vmk_MgmtUserCallbackInvokeInt comes before
// the real one, passes everything on, and counts.
#pragma once

#include "veskctl/long_codes.h"

namespace veskctl {

struct LogReads {
    bool finished = false;  // the last page of the log was asked for, and that came back
    unsigned read = 0;      // reads that succeeded: of pages, and of what a page's end cuts
    unsigned failed = 0;    // reads that did not
    LongCodes::Codes longCodes = {};
};

// Of this process, from its start. May be called from any thread.
LogReads logReads();

}  // namespace veskctl
