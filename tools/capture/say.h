// One line on standard error, in the host's process. Neither allocates nor throws; a reader that
// has gone does not end the host.
#pragma once

namespace veskcap {

void say(const char* what, const char* detail = "") noexcept;

}  // namespace veskcap
