#include "controller/controller_builder.h"

#include "api/zt_command.h"
#include "controller/adapter_data.h"
#include "controller/adapter_info_builder.h"
#include "support/log_line.h"
#include "support/trace.h"
#include "transport/pcie_link_info.h"
#include "transport/read_pcie_command_builder.h"

#include <new>

namespace {

// Sends the command of a new Builder and hands the Record that comes back to the controller. A
// builder with no buffer has no reply: nothing is read then.
template <typename Builder, typename Record>
void readInto(CController& controller, CCommandDword* (Builder::*command)()) {
    std::unique_ptr<ICommandBuilder> builder;
    // ODDITY: none of these handlers sets the error state; hosts see zero fields and result 0.
    // Pinned by ControllerBuilder.FailuresLeaveTheErrorStateAlone.
    try {
        builder = std::make_unique<Builder>();
        builder->buildCommand();
        builder->execute();
        CCommandDword* const dwords = (static_cast<Builder&>(*builder).*command)();
        if (dwords == nullptr) {
            throw "Null Pointer Exception";
        }
        if (dwords->getcdw_6_7() != nullptr) {
            controller.setAttributes(static_cast<Record*>(dwords->getcdw_6_7()));
        }
    } catch (const char* text) {
        stg::logLine(text);
    } catch (const std::bad_alloc& error) {
        stg::logLine(error.what());
    } catch (...) {
        stg::logLine("Generic exception");
    }
}

}  // namespace

UCHAR_ CControllerBuilder::m_AdapterID = 0;

CControllerBuilder::CControllerBuilder() {
    LOG_ENTRY;
    m_pController = std::make_unique<CController>();
    LOG_EXIT;
}

CControllerBuilder::~CControllerBuilder() {
    LOG_ENTRY;
    m_pController.reset();
    LOG_EXIT;
}

VOID_ CControllerBuilder::buidInfo(int commandId) {
    LOG_ENTRY;
    if (commandId == ADAPTER_GET_INFO) {
        getAdapterInfo();
        getPCIeInfo();
    }
    LOG_EXIT;
}

IObject* CControllerBuilder::getObject() {
    return reinterpret_cast<IObject*>(m_pController.get());
}

VOID_ CControllerBuilder::getAdapterInfo() {
    LOG_ENTRY;
    readInto<CAdapterInfoBuilder, _AdapaterData>(*m_pController,
                                                 &CAdapterInfoBuilder::getAdapterInfoCommand);
    LOG_EXIT;
}

VOID_ CControllerBuilder::getPCIeInfo() {
    LOG_ENTRY;
    readInto<CReadPCIeCommandBuilder, _VESKPCIInfo>(
        *m_pController, &CReadPCIeCommandBuilder::getReadPCIeInfoCommand);
    LOG_EXIT;
}

VOID_ CControllerBuilder::setAdapterID(UCHAR_ adapterId) {
    m_AdapterID = adapterId;
}

UCHAR_ CControllerBuilder::getAdapterID() {
    return m_AdapterID;
}
