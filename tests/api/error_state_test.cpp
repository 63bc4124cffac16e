// The one error state and its log lines.
#include "api/error_state.h"
#include "traced_host.h"

#include <gtest/gtest.h>

namespace {

using vesktest::LogLines;
using vesktest::TracedHost;
using ErrorStateClass = VeskNVMeLibrary_Error;

}  // namespace

TEST(ErrorState, IsClearAtLoad) {
    EXPECT_EQ(ErrorStateClass::getErrorCode(), 0);
}

TEST(ErrorState, ReadingDoesNotClear) {
    ErrorStateClass::setErrorCode(1);
    EXPECT_EQ(ErrorStateClass::getErrorCode(), 1);
    EXPECT_EQ(ErrorStateClass::getErrorCode(), 1);
}

TEST(ErrorState, LastWriterWins) {
    ErrorStateClass::setErrorCode(6);
    ErrorStateClass::setErrorCode(1);
    EXPECT_EQ(ErrorStateClass::getErrorCode(), 1);
    ErrorStateClass::setErrorCode(0);
    EXPECT_EQ(ErrorStateClass::getErrorCode(), 0);
}

TEST(ErrorState, StoresEveryNumberAsItIs) {
    for (const INTEGER code : {5, 13, 19, 150, 187, 2, 255, 256, -1, 2147483647, -2147483647 - 1}) {
        ErrorStateClass::setErrorCode(code);
        EXPECT_EQ(ErrorStateClass::getErrorCode(), code);
    }
}

TEST(ErrorState, LogsTheLineOfEachCode) {
    TracedHost logging;
    for (const INTEGER code : {0, 1, 5, 6, 13, 19, 187}) {
        ErrorStateClass::setErrorCode(code);
    }
    EXPECT_EQ(
        logging.lines(),
        (LogLines{"libVeskNVMe SUCESS: ERR_NONE ", "libVeskNVMe FAILED: ERR_FAIL ",
                  "libVeskNVMe FAILED: ERR_REQ_OUT_OF_RANGE ",
                  "libVeskNVMe FAILED: ERR_INVALID_REQUEST ",
                  "libVeskNVMe FAILED: ERR_INVALID_ADAPTER_ID ",
                  "libVeskNVMe FAILED: ERR_NOT_SUPPORTED ", "libVeskNVMe FAILED: ERR_RESCANING "}));
}

TEST(ErrorState, NullArgumentIsLoggedAsUnknown) {
    TracedHost logging;
    ErrorStateClass::setErrorCode(150);
    EXPECT_EQ(logging.lines(), LogLines{"libVeskNVMe FAILED: UNKOWN ERROR :%d 150"});
    EXPECT_EQ(ErrorStateClass::getErrorCode(), 150);
}

TEST(ErrorState, UnknownCodesAreLoggedWithTheirNumber) {
    TracedHost logging;
    for (const INTEGER code : {2, 7, 255, -1, 1000}) {
        ErrorStateClass::setErrorCode(code);
    }
    EXPECT_EQ(logging.lines(), (LogLines{"libVeskNVMe FAILED: UNKOWN ERROR :%d 2",
                                         "libVeskNVMe FAILED: UNKOWN ERROR :%d 7",
                                         "libVeskNVMe FAILED: UNKOWN ERROR :%d 255",
                                         "libVeskNVMe FAILED: UNKOWN ERROR :%d -1",
                                         "libVeskNVMe FAILED: UNKOWN ERROR :%d 1000"}));
}

TEST(ErrorState, SuccessIsLoggedEachTime) {
    TracedHost logging;
    ErrorStateClass::setErrorCode(0);
    ErrorStateClass::setErrorCode(0);
    EXPECT_EQ(logging.lines(),
              (LogLines{"libVeskNVMe SUCESS: ERR_NONE ", "libVeskNVMe SUCESS: ERR_NONE "}));
}

TEST(ErrorState, NumbersAreThoseThatHostsReceive) {
    EXPECT_EQ(ERR_NONE, 0);
    EXPECT_EQ(ERR_FAIL, 1);
    EXPECT_EQ(ERR_REQ_OUT_OF_RANGE, 5);
    EXPECT_EQ(ERR_INVALID_REQUEST, 6);
    EXPECT_EQ(ERR_INVALID_ADAPTER_ID, 13);
    EXPECT_EQ(ERR_NOT_SUPPORTED, 19);
    EXPECT_EQ(ERR_NULL_ARGUMENT, 150);
    EXPECT_EQ(ERR_RESCANING, 187);
}
