// The dispatcher: the one point through which every operation of the library passes.
//
// No locks. Host threads and the polling thread (command 5 only) may be inside at the same time;
// what they share is guarded where it lies.
#pragma once

#include "api/zt_command.h"

class CommandHandler {
public:
    // Creates the singleton on first use; null if that failed.
    static CommandHandler* getUniqueInstance();
    static VOID_ destroyMe();

    // Runs one command. Always 0: failures show in the error state and in the caller's memory.
    // Static, so that a command runs also where there was no memory for the instance: it uses none.
    static RESULT navigator(ZTCommand command);
    // The same, without a copy of the record.
    static void run(const ZTCommand& command);

    static CommandHandler* m_pCommandHandlerInstance;
    static UCHAR_ m_ControllerCount;       // 0, or 1 once a controller was found; never cleared
    static UCHAR_ m_libraryInitialized;    // 1 once a set-up ran; never cleared
    static USHORT_INT m_libraryFinalized;  // calls of ZT_API_Finalize; never cleared
};

namespace stg {

// How every sender runs a command: fills a zeroed record and hands it to the dispatcher.
void dispatch(CommandId id, VOIDPTR arg1 = nullptr, VOIDPTR arg2 = nullptr, VOIDPTR arg3 = nullptr,
              VOIDPTR arg4 = nullptr);

}  // namespace stg
