// The mark of delivered events: shown, and set by hand.
#pragma once

namespace veskctl {

struct Command;

Command markCommand();

}  // namespace veskctl
