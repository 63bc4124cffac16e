// The gathering of the controller's record, and its delivery to the host.
#include "adapter_page.h"
#include "memory_faults.h"
#include "pci_dump_file.h"
#include "traced_host.h"

#include "api/builder_type_factory.h"
#include "api/error_state.h"
#include "controller/controller_builder.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace {

using namespace vesktest;

ControllerBytes withLink(ControllerBytes bytes) {
    putBytes(bytes, 272, {0x05, 0x03, 0x08, 0x04});
    return bytes;
}

class ControllerBuilder : public ::testing::Test {
protected:
    ControllerBuilder() { VeskNVMeLibrary_Error::setErrorCode(0); }

    void writeDump() const {
        host.files().write(kPciConfigPath, std::string(kDumpHeader) + kDumpRows);
    }

    void expectInfo(const Reply& reply) {
        driver.expectCommand(adapterInfoRecord(), reply);
        host.forgetLines();
    }

    void expectInfoThrowing(const std::function<void()>& hook) {
        Reply reply;
        reply.hook = hook;
        expectInfo(reply);
    }

    ControllerBytes bytes() {
        return bytesOf(*reinterpret_cast<const CController*>(builder.getObject()));
    }

    TracedHost host;
    ScriptedDriver driver;
    ConnectedTalker connected{driver};
    CControllerBuilder builder;
};

TEST_F(ControllerBuilder, GathersIdentityAndThenLink) {
    writeDump();
    expectInfo(pageReply(adapterPage()));
    IObject* const object = builder.getObject();
    builder.buidInfo(3);
    EXPECT_EQ(bytes(), withLink(identityBytes()));
    EXPECT_EQ(builder.getObject(), object);
    EXPECT_TRUE(inOrder(
        host.lines(),
        {"CControllerBuilder::buidInfo() ENTRY ", "CControllerBuilder::getAdapterInfo() ENTRY ",
         "CVMWareZNVDeviceTalker::executeIOCTL: IOCTL call successful",
         "CController::setBDF: m_SystemIOBusNumber: 3874311",
         "CAdapterInfoBuilder::~CAdapterInfoBuilder() ENTRY ",
         "CControllerBuilder::getAdapterInfo() EXIT ", "CControllerBuilder::getPCIeInfo() ENTRY ",
         "CVMWareZNVDeviceTalker::getPCIeInfo(): Max Link Width: 8",
         "CReadPCIeCommandBuilder::~CReadPCIeCommandBuilder() ENTRY ",
         "CControllerBuilder::getPCIeInfo() EXIT ", "CControllerBuilder::buidInfo() EXIT "}));
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 0);
}

TEST_F(ControllerBuilder, OtherCommandsLeaveTheRecordAsItWasMade) {
    writeDump();
    ASSERT_NE(builder.getObject(), nullptr);
    EXPECT_EQ(bytes(), ControllerBytes{});
    for (const int id : {2, 0, 1, 4, 14, 259, -3}) {
        SCOPED_TRACE(id);
        builder.buidInfo(id);
        EXPECT_EQ(bytes(), ControllerBytes{});
    }
    EXPECT_EQ(driver.callCount(), 0U);
}

TEST_F(ControllerBuilder, WhatCannotBeReadIsZeroAndNoError) {
    Reply refusal;
    refusal.completionStatus = 0x0002;
    expectInfo(pageReply(adapterPage()));
    builder.buidInfo(3);
    EXPECT_EQ(bytes(), identityBytes()) << "no dump";
    expectInfo(pageReply(std::vector<std::uint8_t>(4096, 0)));
    builder.buidInfo(3);
    EXPECT_EQ(bytes(), ControllerBytes{}) << "no dump and a page of zeros";
    EXPECT_EQ(CController::firwareVer.majorVersion, 0);
    EXPECT_EQ(CController::firwareVer.buildNumber, 0);
    writeDump();
    expectInfo(refusal);
    builder.buidInfo(3);
    EXPECT_EQ(bytes(), withLink(ControllerBytes{})) << "a refused command";
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 0);
}

TEST_F(ControllerBuilder, UnknownExceptionEndsTheReadAndTheLinkFollows) {
    writeDump();
    expectInfoThrowing([] { throw 42; });
    builder.buidInfo(3);
    EXPECT_EQ(bytes(), withLink(ControllerBytes{}));
    EXPECT_TRUE(inOrder(host.lines(),
                        {"Generic exception", "CAdapterInfoBuilder::~CAdapterInfoBuilder() ENTRY ",
                         "CControllerBuilder::getAdapterInfo() EXIT ",
                         "CControllerBuilder::getPCIeInfo() ENTRY ",
                         "CVMWareZNVDeviceTalker::getPCIeInfo(): Max Link Width: 8"}));
    EXPECT_EQ(count(host.messages(), "Generic exception"), 1U);
}

TEST_F(ControllerBuilder, StandardExceptionOfTheDriverIsTheTalkersAffair) {
    expectInfoThrowing([] { throw std::runtime_error("driver fault"); });
    builder.buidInfo(3);
    EXPECT_EQ(bytes(), ControllerBytes{});
    EXPECT_TRUE(contains(host.messages(), "CVMWareZNVDeviceTalker::executeCMD : Exception Error: "
                                          "driver fault"));
    EXPECT_FALSE(contains(host.messages(), "Generic exception"));
}

TEST_F(ControllerBuilder, WithoutMemoryForACommandBuilderItsReadEnds) {
    if (!kCanFailNew) {
        GTEST_SKIP() << kWhyNewCannotFail;
    }
    struct Read {
        VOID_ (CControllerBuilder::*run)();
        const char* name;
    };
    for (const Read& now :
         {Read{&CControllerBuilder::getAdapterInfo, "CControllerBuilder::getAdapterInfo()"},
          Read{&CControllerBuilder::getPCIeInfo, "CControllerBuilder::getPCIeInfo()"}}) {
        host.forgetLines();
        {
            const FailNew fault(AllocationSize::exactly(sizeof(CCommandDword)));
            (builder.*now.run)();
            EXPECT_TRUE(fault.triggered());
        }
        EXPECT_EQ(host.messages(), LogLines{"std::bad_alloc"});
        EXPECT_TRUE(host.traced(now.name));
    }
    EXPECT_EQ(bytes(), ControllerBytes{});
    EXPECT_EQ(driver.callCount(), 0U);
}

TEST_F(ControllerBuilder, FailuresLeaveTheErrorStateAlone) {
    VeskNVMeLibrary_Error::setErrorCode(6);
    expectInfoThrowing([] { throw 42; });
    builder.buidInfo(3);
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 6);
    expectInfoThrowing([] { throw std::bad_alloc(); });
    builder.buidInfo(3);
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 6);
    if (kCanFailNew) {
        const FailNew fault(AllocationSize::exactly(sizeof(CCommandDword)), 1, Repeat::kEachLater);
        builder.buidInfo(3);
        EXPECT_TRUE(fault.triggered());
        EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 6);
    }
}

TEST_F(ControllerBuilder, WithoutMemoryForThePageNothingIsReadAndTheErrorStateSaysSo) {
    writeDump();
    // The command goes out with its opcode alone.
    driver.expectCommand(connectedRecord({{0, "E2"}, {96, "80 84 1E 00 00 00 00 00"}}, false));
    host.forgetLines();
    {
        const FailMalloc fault(AllocationSize::exactly(4096));
        builder.buidInfo(3);
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(bytes(), withLink(ControllerBytes{}));
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 1);
    EXPECT_TRUE(inOrder(host.messages(), {"std::bad_alloc", "libVeskNVMe FAILED: ERR_FAIL "}));
}

TEST_F(ControllerBuilder, WithoutMemoryForTheLinkNothingIsReadAndTheErrorStateSaysSo) {
    writeDump();
    host.forgetLines();
    {
        const FailMalloc fault(AllocationSize::exactly(4));
        builder.getPCIeInfo();
        EXPECT_TRUE(fault.triggered());
    }
    EXPECT_EQ(bytes(), ControllerBytes{});
    EXPECT_EQ(VeskNVMeLibrary_Error::getErrorCode(), 1);
    EXPECT_TRUE(inOrder(host.messages(), {"std::bad_alloc", "libVeskNVMe FAILED: ERR_FAIL "}));
}

TEST_F(ControllerBuilder, AdapterIdIsOneForAllBuilders) {
    EXPECT_EQ(builder.getAdapterID(), 0);
    builder.setAdapterID(200);
    CControllerBuilder other;
    EXPECT_EQ(other.getAdapterID(), 200);
    other.setAdapterID(0);
    EXPECT_EQ(builder.getAdapterID(), 0);
}

TEST_F(ControllerBuilder, TakesNoParametersAndDeliversNoCopies) {
    std::vector<IObject*> objects;
    builder.getObjectVector(objects);
    EXPECT_TRUE(objects.empty());
    ControllerBytes record{};
    record.fill(0xEE);
    const ControllerBytes before = record;
    builder.getSpecificObject(3, record.data());
    builder.setSpecificParams(3, record.data());
    EXPECT_EQ(record, before);
}

TEST_F(ControllerBuilder, ComesFromTheFactoryAndItsLifeIsTraced) {
    host.forgetLines();
    {
        const std::unique_ptr<IBuilder> made(BuilderTypeFactory::getBuilder(3));
        ASSERT_NE(dynamic_cast<CControllerBuilder*>(made.get()), nullptr);
    }
    const std::string controllerEnds =
        "CController::~CController()libVeskNvme: CController::~CController()";
    EXPECT_TRUE(inOrder(
        host.lines(),
        {"CControllerBuilder::CControllerBuilder() ENTRY ", "CController::CController() ENTRY ",
         "CController::CController() EXIT ", "CControllerBuilder::CControllerBuilder() EXIT ",
         "CControllerBuilder::~CControllerBuilder() ENTRY ", controllerEnds + " ENTRY ",
         controllerEnds + " EXIT ", "CControllerBuilder::~CControllerBuilder() EXIT "}));
}

TEST_F(ControllerBuilder, HostGetsTheRecordAndThenTheFirmwareVersion) {
    writeDump();
    expectInfo(pageReply(adapterPage()));
    UCHAR_ count = 9;
    CController controller;
    EXPECT_EQ(ZT_Adapter_GetInfo(200, &count, &controller), 0);
    EXPECT_EQ(count, 0);  // set-up did not run
    EXPECT_EQ(bytesOf(controller), withLink(identityBytes()));
    Adapter_OEM_Data data{};
    EXPECT_EQ(ZT_Adapter_Get_OEM_Data(0, &data), 0);
    EXPECT_EQ(data.firmwareVersion.majorVersion, 0x0A01);
    EXPECT_EQ(data.firmwareVersion.minorVersion, 0x0B02);
    EXPECT_EQ(data.firmwareVersion.revisionNumber, 0x0C03);
    EXPECT_EQ(data.firmwareVersion.buildNumber, 0x0D04);

    // A zero answer takes the version away again.
    expectInfo(pageReply(std::vector<std::uint8_t>(4096, 0)));
    EXPECT_EQ(ZT_Adapter_GetInfo(0, &count, &controller), 0);
    EXPECT_EQ(bytesOf(controller), withLink(ControllerBytes{}));
    EXPECT_EQ(ZT_Adapter_Get_OEM_Data(0, &data), 0);
    EXPECT_EQ(data.firmwareVersion.majorVersion, 0);
    EXPECT_EQ(data.firmwareVersion.buildNumber, 0);
}

TEST_F(ControllerBuilder, HostGetsZerosAndNoErrorFromAFailedCommand) {
    Reply reply;
    reply.resultCode = 5;
    expectInfo(reply);
    UCHAR_ count = 9;
    CController controller;
    controller.setVendorID(1);
    EXPECT_EQ(ZT_Adapter_GetInfo(0, &count, &controller), 0);
    EXPECT_EQ(bytesOf(controller), ControllerBytes{});
}

}  // namespace
