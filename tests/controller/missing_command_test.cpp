// The gathering of the controller's record by command builders that hand out no command. A program
// of its own, as its accessors stand in front of the library's.
#include "adapter_page.h"
#include "connected_talker.h"
#include "pci_dump_file.h"
#include "traced_host.h"

#include "api/error_state.h"
#include "controller/adapter_config_builder.h"
#include "controller/adapter_info_builder.h"
#include "controller/adapter_oem_data_builder.h"
#include "controller/controller_builder.h"
#include "transport/read_pcie_command_builder.h"

#include <gtest/gtest.h>

#include <string>

CCommandDword* CAdapterInfoBuilder::getAdapterInfoCommand() {
    return nullptr;
}

CCommandDword* CReadPCIeCommandBuilder::getReadPCIeInfoCommand() {
    return nullptr;
}

namespace {

TEST(MissingCommand, EndsEachReadWithALineAndNoError) {
    vesktest::TracedHost host;
    vesktest::ScriptedDriver driver;
    const vesktest::ConnectedTalker connected(driver);
    host.files().write(vesktest::kPciConfigPath,
                       std::string(vesktest::kDumpHeader) + vesktest::kDumpRows);
    vesktest::Record record = vesktest::adapterInfoRecord();
    record.handle = vesktest::kConnection;
    driver.expectCommand(record, vesktest::pageReply(vesktest::adapterPage()));
    VeskNVMeLibrary_Error::setErrorCode(6);
    CControllerBuilder builder;
    host.forgetLines();
    builder.buidInfo(3);
    EXPECT_TRUE(vesktest::inOrder(
        host.lines(),
        {"CControllerBuilder::getAdapterInfo() ENTRY ",
         "CVMWareZNVDeviceTalker::executeIOCTL: IOCTL call successful", "Null Pointer Exception",
         "CAdapterInfoBuilder::~CAdapterInfoBuilder() ENTRY ",
         "CControllerBuilder::getAdapterInfo() EXIT ", "CControllerBuilder::getPCIeInfo() ENTRY ",
         "Null Pointer Exception", "CReadPCIeCommandBuilder::~CReadPCIeCommandBuilder() ENTRY ",
         "CControllerBuilder::getPCIeInfo() EXIT ", "CControllerBuilder::buidInfo() EXIT "}));
    EXPECT_EQ(vesktest::count(host.messages(), "Null Pointer Exception"), 2U);
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 6);
    EXPECT_EQ(vesktest::bytesOf(*reinterpret_cast<const CController*>(builder.getObject())),
              vesktest::ControllerBytes{});
}

}  // namespace
