// The gathering of the controller's record by command builders that hand out no command. A program
// of its own, as its accessors stand in front of the library's.
#include "adapter_page.h"
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

using namespace vesktest;

TEST(MissingCommand, EndsEachReadWithALineAndNoError) {
    TracedHost host;
    ScriptedDriver driver;
    const ConnectedTalker connected(driver);
    host.files().write(kPciConfigPath, std::string(kDumpHeader) + kDumpRows);
    driver.expectCommand(adapterInfoRecord(), pageReply(adapterPage()));
    VeskNVMeLibrary_Error::setErrorCode(6);
    CControllerBuilder builder;
    host.forgetLines();
    builder.buidInfo(3);
    EXPECT_TRUE(inOrder(
        host.lines(),
        {"CControllerBuilder::getAdapterInfo() ENTRY ",
         "CVMWareZNVDeviceTalker::executeIOCTL: IOCTL call successful", "Null Pointer Exception",
         "CAdapterInfoBuilder::~CAdapterInfoBuilder() ENTRY ",
         "CControllerBuilder::getAdapterInfo() EXIT ", "CControllerBuilder::getPCIeInfo() ENTRY ",
         "Null Pointer Exception", "CReadPCIeCommandBuilder::~CReadPCIeCommandBuilder() ENTRY ",
         "CControllerBuilder::getPCIeInfo() EXIT ", "CControllerBuilder::buidInfo() EXIT "}));
    EXPECT_EQ(count(host.messages(), "Null Pointer Exception"), 2U);
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 6);
    EXPECT_EQ(bytesOf(*reinterpret_cast<const CController*>(builder.getObject())),
              ControllerBytes{});
}

}  // namespace
