// One NVMe command on its way to the driver: a slot for each dword of a submission queue entry.
#pragma once

#include "VeskNvme.h"

// Departs from the NVMe layout where the driver's record does: the address slots carry pointers of
// this process, dwords 8 and 9 carry the lengths of the two buffers, dwords 2 and 3 go nowhere.
// Owned and used by the one command builder that made it; the buffers are the builder's too.
class CCommandDword {
public:
    CCommandDword();  // all slots zero

    VOID_ setcdw0(UNSIGNED_INTEGER value);
    UNSIGNED_INTEGER getcdw0();
    VOID_ setcdw1(UNSIGNED_INTEGER value);
    UNSIGNED_INTEGER getcdw1();
    VOID_ setcdw2(UNSIGNED_INTEGER value);
    UNSIGNED_INTEGER getcdw2();
    VOID_ setcdw3(UNSIGNED_INTEGER value);
    UNSIGNED_INTEGER getcdw3();
    VOID_ setcdw_4_5(VOIDPTR value);
    VOIDPTR getcdw_4_5();
    VOID_ setcdw_6_7(VOIDPTR value);
    VOIDPTR getcdw_6_7();
    VOID_ setcdw8(UNSIGNED_INTEGER value);
    UNSIGNED_INTEGER getcdw8();
    VOID_ setcdw9(UNSIGNED_INTEGER value);
    UNSIGNED_INTEGER getcdw9();
    VOID_ setcdw10(UNSIGNED_INTEGER value);
    UNSIGNED_INTEGER getcdw10();
    VOID_ setcdw11(UNSIGNED_INTEGER value);
    UNSIGNED_INTEGER getcdw11();
    VOID_ setcdw12(UNSIGNED_INTEGER value);
    UNSIGNED_INTEGER getcdw12();
    VOID_ setcdw13(UNSIGNED_INTEGER value);
    UNSIGNED_INTEGER getcdw13();
    VOID_ setcdw14(UNSIGNED_INTEGER value);
    UNSIGNED_INTEGER getcdw14();
    VOID_ setcdw15(UNSIGNED_INTEGER value);
    UNSIGNED_INTEGER getcdw15();

    // Sends the record through the process-wide talker. Code 1 is a device command, code 0 asks for
    // the PCI link data of the host's files. 0 success, 1 failure; also 1, with nothing sent, while
    // there is no talker.
    RESULT execute(ULONG_INT code);

private:
    // Opcode in bits 0 to 7, fused operation in 8 and 9, command identifier in 16 to 31.
    UNSIGNED_INTEGER cdw0 = 0;
    UNSIGNED_INTEGER cdw1 = 0;   // namespace id
    UNSIGNED_INTEGER cdw2 = 0;   // never sent
    UNSIGNED_INTEGER cdw3 = 0;   // never sent
    VOIDPTR cdw_4_5 = nullptr;   // address of a metadata buffer
    VOIDPTR cdw_6_7 = nullptr;   // address of the data buffer
    UNSIGNED_INTEGER cdw8 = 0;   // metadata length in bytes
    UNSIGNED_INTEGER cdw9 = 0;   // data length in bytes
    UNSIGNED_INTEGER cdw10 = 0;  // 10 to 15: command specific
    UNSIGNED_INTEGER cdw11 = 0;
    UNSIGNED_INTEGER cdw12 = 0;
    UNSIGNED_INTEGER cdw13 = 0;
    UNSIGNED_INTEGER cdw14 = 0;
    UNSIGNED_INTEGER cdw15 = 0;
};
