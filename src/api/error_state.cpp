#include "api/error_state.h"

#include "support/log_line.h"

namespace {

struct ResultLine {
    INTEGER code;
    const char* line;
};

// ODDITY: "SUCESS", "RESCANING" and "UNKOWN" stand so in the log format that hosts search.
// Pinned by ErrorState.LogsTheLineOfEachCode.
constexpr ResultLine kResultLines[] = {
    {ERR_NONE, "libVeskNVMe SUCESS: ERR_NONE "},
    {ERR_FAIL, "libVeskNVMe FAILED: ERR_FAIL "},
    {ERR_REQ_OUT_OF_RANGE, "libVeskNVMe FAILED: ERR_REQ_OUT_OF_RANGE "},
    {ERR_INVALID_REQUEST, "libVeskNVMe FAILED: ERR_INVALID_REQUEST "},
    {ERR_INVALID_ADAPTER_ID, "libVeskNVMe FAILED: ERR_INVALID_ADAPTER_ID "},
    {ERR_NOT_SUPPORTED, "libVeskNVMe FAILED: ERR_NOT_SUPPORTED "},
    {ERR_RESCANING, "libVeskNVMe FAILED: ERR_RESCANING "},
};

void logResultLine(INTEGER code) {
    for (const ResultLine& row : kResultLines) {
        if (row.code == code) {
            stg::logLine(row.line);
            return;
        }
    }
    // ODDITY: code 150 has no row, so it gets here too, and the line keeps the characters "%d" in
    // front of the number. Pinned by ErrorState.NullArgumentIsLoggedAsUnknown.
    stg::logLine("libVeskNVMe FAILED: UNKOWN ERROR :%d ", code);
}

}  // namespace

INTEGER VeskNVMeLibrary_Error::m_errorCode = 0;

VOID_ VeskNVMeLibrary_Error::setErrorCode(INTEGER code) {
    logResultLine(code);
    m_errorCode = code;
}

INTEGER VeskNVMeLibrary_Error::getErrorCode() {
    return m_errorCode;
}

namespace stg {

void recordFailure(INTEGER code, const char* text, const char* detail) {
    logLine(text, detail);
    VeskNVMeLibrary_Error::setErrorCode(code);
}

}  // namespace stg
