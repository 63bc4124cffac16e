// One log statement: all pieces and the line end, at the cost of one flag test while logging is
// off, and of one write to the file while it is on.
#pragma once

#include "support/log_piece.h"
#include "support/logger.h"

#include <type_traits>

namespace stg {

// Texts of all lengths as one type, so that statements of the same shape share their code.
template <typename Piece>
using LogArgument =
    std::conditional_t<std::is_class_v<Piece>, const Piece&, std::decay_t<const Piece&>>;

// Out of the way: where a statement stands, nothing but the test of the flag is left.
template <typename... Arguments>
[[gnu::cold, gnu::noinline]] void writePieces(Arguments... arguments) {
    lout.writeLine({LogPiece(arguments)...});
}

template <typename... Pieces>
inline void logLine(const Pieces&... pieces) {
    if (lout.isActive()) {
        writePieces<LogArgument<Pieces>...>(pieces...);
    }
}

}  // namespace stg
