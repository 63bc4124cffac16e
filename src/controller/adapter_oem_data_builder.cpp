#include "controller/adapter_oem_data_builder.h"

#include "support/trace.h"

CAdapterOEMDataBuilder::CAdapterOEMDataBuilder() {
    LOG_ENTRY;
    m_pCommand = std::make_unique<CCommandDword>();
    LOG_EXIT;
}

CAdapterOEMDataBuilder::~CAdapterOEMDataBuilder() {
    LOG_ENTRY;
    m_pCommand.reset();
    m_pReply.reset();
    LOG_EXIT;
}

RESULT CAdapterOEMDataBuilder::buildCommand() {
    LOG_ENTRY;
    m_pCommand->setcdw0(0xE2);
    m_pReply = stg::attachReply(*m_pCommand, 0x1000);
    if (m_pReply) {
        m_pCommand->setcdw9(0x1000);
        m_pCommand->setcdw10(0x400);
        m_pCommand->setcdw12(0xE4);
    }
    LOG_EXIT;
    return m_pReply ? 0 : 1;
}

VOID_ CAdapterOEMDataBuilder::execute() {
    LOG_ENTRY;
    ICommandBuilder::execute();
    stg::sendCommand(*this, m_pCommand.get());
    LOG_EXIT;
}

CCommandDword* CAdapterOEMDataBuilder::getAdapterOEMDataCommand() {
    return m_pCommand.get();
}
