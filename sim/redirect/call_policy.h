// What redirect.cpp decides for the replaced functions of c_library_calls.cpp. Only plain types
// cross here, so that the replaced functions need no inline code of the standard library: that file
// is not instrumented by sanitizers, and the linker keeps one copy of an inline function for all.
// May be called from any thread, at any time in the life of the process. Apart from asking a
// failure handler nothing here allocates, so that counted allocations are the caller's own.
#pragma once

#include <cstddef>

namespace vesksim {

// Room for the longest path that the system accepts and one character more: a path that was cut to
// this size is still refused with ENAMETOOLONG.
constexpr std::size_t kPathRoom = 4096 + 1;

// `path` itself if it is none of the host's, else its place under the root, written into `room`. An
// empty text, which no call accepts (ENOENT), if there is no root.
const char* redirected(const char* path, char (&room)[kPathRoom]);

// True while a failure handler is set; the three questions below are then worth asking.
bool failuresWanted();

// The errno value that the call is to fail with, or 0. errno itself stays as it is.
int failureOfPaths(const char* function, const char* first, const char* second);
int failureOfDescriptor(const char* function, int descriptor);
int failureOfCommand(const char* function, const char* command);

// Hands the sleep to the handler. False if there is none.
bool sleepHandled(unsigned seconds, unsigned* left);

}  // namespace vesksim
