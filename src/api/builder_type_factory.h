// Maps a command id to a new information builder.
#pragma once

#include "api/i_builder.h"

class BuilderTypeFactory {
public:
    // A new builder, the caller's to delete; null for a command without one (no error), and when
    // memory ran out (ERR_FAIL).
    static IBuilder* getBuilder(USHORT_INT commandId);
};
