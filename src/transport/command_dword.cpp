#include "transport/command_dword.h"

#include "support/log_line.h"
#include "support/trace.h"
#include "transport/i_device_talker.h"

CCommandDword::CCommandDword() {
    LOG_ENTRY;
    LOG_EXIT;
}

VOID_ CCommandDword::setcdw0(UNSIGNED_INTEGER value) {
    cdw0 = value;
}

UNSIGNED_INTEGER CCommandDword::getcdw0() {
    return cdw0;
}

VOID_ CCommandDword::setcdw1(UNSIGNED_INTEGER value) {
    cdw1 = value;
}

UNSIGNED_INTEGER CCommandDword::getcdw1() {
    return cdw1;
}

VOID_ CCommandDword::setcdw2(UNSIGNED_INTEGER value) {
    cdw2 = value;
}

UNSIGNED_INTEGER CCommandDword::getcdw2() {
    return cdw2;
}

VOID_ CCommandDword::setcdw3(UNSIGNED_INTEGER value) {
    cdw3 = value;
}

UNSIGNED_INTEGER CCommandDword::getcdw3() {
    return cdw3;
}

VOID_ CCommandDword::setcdw_4_5(VOIDPTR value) {
    cdw_4_5 = value;
}

VOIDPTR CCommandDword::getcdw_4_5() {
    return cdw_4_5;
}

VOID_ CCommandDword::setcdw_6_7(VOIDPTR value) {
    cdw_6_7 = value;
}

VOIDPTR CCommandDword::getcdw_6_7() {
    return cdw_6_7;
}

VOID_ CCommandDword::setcdw8(UNSIGNED_INTEGER value) {
    cdw8 = value;
}

UNSIGNED_INTEGER CCommandDword::getcdw8() {
    return cdw8;
}

VOID_ CCommandDword::setcdw9(UNSIGNED_INTEGER value) {
    cdw9 = value;
}

UNSIGNED_INTEGER CCommandDword::getcdw9() {
    return cdw9;
}

VOID_ CCommandDword::setcdw10(UNSIGNED_INTEGER value) {
    cdw10 = value;
}

UNSIGNED_INTEGER CCommandDword::getcdw10() {
    return cdw10;
}

VOID_ CCommandDword::setcdw11(UNSIGNED_INTEGER value) {
    cdw11 = value;
}

UNSIGNED_INTEGER CCommandDword::getcdw11() {
    return cdw11;
}

VOID_ CCommandDword::setcdw12(UNSIGNED_INTEGER value) {
    cdw12 = value;
}

UNSIGNED_INTEGER CCommandDword::getcdw12() {
    return cdw12;
}

VOID_ CCommandDword::setcdw13(UNSIGNED_INTEGER value) {
    cdw13 = value;
}

UNSIGNED_INTEGER CCommandDword::getcdw13() {
    return cdw13;
}

VOID_ CCommandDword::setcdw14(UNSIGNED_INTEGER value) {
    cdw14 = value;
}

UNSIGNED_INTEGER CCommandDword::getcdw14() {
    return cdw14;
}

VOID_ CCommandDword::setcdw15(UNSIGNED_INTEGER value) {
    cdw15 = value;
}

UNSIGNED_INTEGER CCommandDword::getcdw15() {
    return cdw15;
}

RESULT CCommandDword::execute(ULONG_INT code) {
    LOG_ENTRY;
    RESULT result = 1;
    IZNVDeviceTalker* const talker = stg::liveDeviceTalker();
    if (talker != nullptr) {
        result = talker->executeCMD(this, code);
    } else {
        // Before set-up and after tear-down: the command fails as one that the driver refuses
        // would.
        stg::logLine("CCommandDword::execute: No device talker, command not sent");
    }
    LOG_EXIT;
    return result;
}
