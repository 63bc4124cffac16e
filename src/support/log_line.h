// One log statement: all pieces and the line end, at the cost of one flag test while logging is
// off, and of one write to the file while it is on.
#pragma once

#include "support/log_piece.h"
#include "support/logger.h"

namespace stg {

template <typename... Pieces>
inline void logLine(const Pieces&... pieces) {
    if (lout.isActive()) {
        lout.writeLine({LogPiece(pieces)...});
    }
}

}  // namespace stg
