// Tear-down of a library without a controller: the counter, and the exception.
#include "api/command_handler.h"
#include "api/error_state.h"
#include "discovery_script.h"
#include "traced_host.h"

#include <gtest/gtest.h>

#include <system_error>

namespace {

using vesktest::contains;
using vesktest::LogLines;
using vesktest::TracedHost;

}  // namespace

TEST(LibraryStop, FirstFinalizeOnlyCounts) {
    TracedHost logging;
    VeskNVMeLibrary_Error::setErrorCode(6);
    logging.forgetLines();
    ZT_API_Finalize();
    EXPECT_EQ(CommandHandler::m_libraryFinalized, 1);
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 6);
    EXPECT_EQ(logging.lines(), (LogLines{"ZT_API_Finalize() ENTRY ", "ZT_API_Finalize() EXIT "}));
}

TEST(LibraryStop, SecondFinalizeWithoutAControllerThrows) {
    const vesktest::PrivateHost host;
    vesktest::ScriptedDriver driver;
    vesktest::expectNoAdapter(driver);
    EXPECT_EQ(ZT_API_Initialize(), 0);
    ZT_API_Finalize();
    EXPECT_THROW(ZT_API_Finalize(), std::system_error);
    EXPECT_EQ(CommandHandler::m_libraryFinalized, 2);
}

TEST(LibraryStop, ThirdFinalizeIsInert) {
    TracedHost logging;
    CommandHandler::m_libraryFinalized = 2;
    ZT_API_Finalize();
    EXPECT_EQ(CommandHandler::m_libraryFinalized, 3);
    EXPECT_EQ(logging.lines(), (LogLines{"ZT_API_Finalize() ENTRY ", "ZT_API_Finalize() EXIT "}));
}

TEST(LibraryStop, CounterHas16Bits) {
    TracedHost logging;
    CommandHandler::m_libraryFinalized = 65535;
    ZT_API_Finalize();
    EXPECT_EQ(CommandHandler::m_libraryFinalized, 0);
    ZT_API_Finalize();
    EXPECT_EQ(CommandHandler::m_libraryFinalized, 1);
    EXPECT_FALSE(contains(logging.lines(),
                          "libVeskNvme: CommandHandler::navigator(): Calling API_FINALIZE"));
    EXPECT_THROW(ZT_API_Finalize(), std::system_error);
}

TEST(LibraryStop, PlainFinalizeWithoutAControllerThrowsAndCountsNothing) {
    TracedHost logging;
    vesktest::ScriptedDriver driver;
    vesktest::expectNoAdapter(driver);
    ZNV_Library_Initialize();
    EXPECT_THROW(ZNV_Library_Finalize(), std::system_error);
    EXPECT_EQ(CommandHandler::m_libraryFinalized, 0);
    EXPECT_TRUE(vesktest::inOrder(
        logging.lines(), {"ZNV_Library_Finalize() ENTRY ",
                          "libVeskNvme: CommandHandler::navigator(): Calling API_FINALIZE"}));
    EXPECT_FALSE(contains(logging.lines(), "ZNV_Library_Finalize() EXIT "));
}
