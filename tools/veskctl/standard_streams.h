// The three standard streams.
#pragma once

#include <cstdio>
#include <string>

namespace veskctl {

// To be called before any file is opened. A stream that the caller closed is taken by a descriptor
// that fails: else the library's next file would get its number, and our output would land there.
// A reader that goes away must not end the process with a signal, half way through a command.
void prepareStandardStreams();

// False for a stream that the caller closed.
bool standardOutputIsOpen();

// Writes and flushes. 0, or the errno of the failure.
int writeAndFlush(std::FILE* stream, const std::string& text);

}  // namespace veskctl
