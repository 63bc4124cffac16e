#include "transport/read_pcie_command_builder.h"

#include "support/trace.h"
#include "transport/pcie_link_info.h"

CReadPCIeCommandBuilder::CReadPCIeCommandBuilder() {
    LOG_ENTRY;
    m_pCommand = std::make_unique<CCommandDword>();
    LOG_EXIT;
}

CReadPCIeCommandBuilder::~CReadPCIeCommandBuilder() {
    LOG_ENTRY;
    m_pCommand.reset();
    m_pReply.reset();
    LOG_EXIT;
}

RESULT CReadPCIeCommandBuilder::buildCommand() {
    LOG_ENTRY;
    m_pReply = stg::attachReply(*m_pCommand, sizeof(_VESKPCIInfo));
    const RESULT result = m_pReply ? 0 : 1;
    LOG_EXIT;
    return result;
}

VOID_ CReadPCIeCommandBuilder::execute() {
    LOG_ENTRY;
    // Not the base's execute(): the code stays 0, which leads to the host's file.
    stg::sendCommand(*this, m_pCommand.get());
    LOG_EXIT;
}

CCommandDword* CReadPCIeCommandBuilder::getReadPCIeInfoCommand() {
    return m_pCommand.get();
}
