#include "controller/adapter_info_builder.h"

#include "support/trace.h"

CAdapterInfoBuilder::CAdapterInfoBuilder() {
    LOG_ENTRY;
    m_pCommand = std::make_unique<CCommandDword>();
    LOG_EXIT;
}

CAdapterInfoBuilder::~CAdapterInfoBuilder() {
    LOG_ENTRY;
    m_pCommand.reset();
    m_pReply.reset();
    LOG_EXIT;
}

RESULT CAdapterInfoBuilder::buildCommand() {
    LOG_ENTRY;
    m_pCommand->setcdw0(0xE2);
    m_pReply = stg::attachReply(*m_pCommand, 0x1000);
    if (m_pReply) {
        m_pCommand->setcdw9(0x1000);
        m_pCommand->setcdw10(0x400);
        m_pCommand->setcdw12(0xE0);
        m_pCommand->setcdw14(0xD);
    }
    LOG_EXIT;
    return m_pReply ? 0 : 1;
}

VOID_ CAdapterInfoBuilder::execute() {
    LOG_ENTRY;
    ICommandBuilder::execute();
    stg::sendCommand(*this, m_pCommand.get());
    LOG_EXIT;
}

CCommandDword* CAdapterInfoBuilder::getAdapterInfoCommand() {
    return m_pCommand.get();
}
