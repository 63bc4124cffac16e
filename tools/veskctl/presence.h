// Whether a disk or a volume is there.
#pragma once

#include <optional>

namespace veskctl {

enum class Presence {
    Present,
    Absent,  // the controller says that there is none
    Unknown  // it did not answer
};

inline std::optional<bool> presentOrUnknown(Presence presence) {
    if (presence == Presence::Unknown) {
        return std::nullopt;
    }
    return presence == Presence::Present;
}

}  // namespace veskctl
