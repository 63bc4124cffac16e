// The end of the process.
#pragma once

namespace veskctl {

// Once a controller was found, the library's collecting thread runs, and it mostly sleeps: a
// tear-down would wait for it, up to a polling interval of 50 seconds or more, and the destructors
// of a normal exit would run under it. A short command therefore leaves with all its output written
// and nothing torn down; the system takes back memory, files and the thread.
[[noreturn]] void leaveProcess(int code);

}  // namespace veskctl
