#include "controller/adapter_command_builders.h"

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
    m_pReply = buildInformationRead(*m_pCommand, 0xE0);
    if (m_pReply) {
        m_pCommand->setcdw14(0xD);
    }
    LOG_EXIT;
    return m_pReply ? 0 : 1;
}

VOID_ CAdapterInfoBuilder::execute() {
    LOG_ENTRY;
    ICommandBuilder::execute();
    sendCommand(*this, m_pCommand.get());
    LOG_EXIT;
}

CCommandDword* CAdapterInfoBuilder::getAdapterInfoCommand() {
    return m_pCommand.get();
}

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
    m_pReply = buildInformationRead(*m_pCommand, 0xE1);
    return m_pReply ? 0 : 1;
}

VOID_ CAdapterConfigBuilder::execute() {
    LOG_ENTRY;
    ICommandBuilder::execute();
    sendCommand(*this, m_pCommand.get());
    LOG_EXIT;
}

CCommandDword* CAdapterConfigBuilder::getAdapterConfigCommand() {
    return m_pCommand.get();
}

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
    m_pReply = buildInformationRead(*m_pCommand, 0xE4);
    LOG_EXIT;
    return m_pReply ? 0 : 1;
}

VOID_ CAdapterOEMDataBuilder::execute() {
    LOG_ENTRY;
    ICommandBuilder::execute();
    sendCommand(*this, m_pCommand.get());
    LOG_EXIT;
}

CCommandDword* CAdapterOEMDataBuilder::getAdapterOEMDataCommand() {
    return m_pCommand.get();
}
