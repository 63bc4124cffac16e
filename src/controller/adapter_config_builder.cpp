#include "controller/adapter_config_builder.h"

#include "support/trace.h"

CAdapterConfigBuilder::CAdapterConfigBuilder() {
    LOG_ENTRY;
    m_pCommand = std::make_unique<CCommandDword>();
    LOG_EXIT;
}

CAdapterConfigBuilder::~CAdapterConfigBuilder() {
    LOG_ENTRY;
    m_pCommand.reset();
    m_pReply.reset();
    LOG_EXIT;
}

RESULT CAdapterConfigBuilder::buildCommand() {
    // ODDITY: no trace lines in this one; the set of lines in the log is fixed, and never had them.
    // Pinned by AdapterCommands.ConfigBuildHasNoTraceLines.
    m_pCommand->setcdw0(0xE2);
    m_pReply = stg::attachReply(*m_pCommand, 0x1000);
    if (m_pReply) {
        m_pCommand->setcdw9(0x1000);
        m_pCommand->setcdw10(0x400);
        m_pCommand->setcdw12(0xE1);
    }
    return m_pReply ? 0 : 1;
}

VOID_ CAdapterConfigBuilder::execute() {
    LOG_ENTRY;
    ICommandBuilder::execute();
    stg::sendCommand(*this, m_pCommand.get());
    LOG_EXIT;
}

CCommandDword* CAdapterConfigBuilder::getAdapterConfigCommand() {
    return m_pCommand.get();
}
