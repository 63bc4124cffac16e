#include "disks/pd_info_builder.h"

#include "support/trace.h"

CPDInfoBuilder::CPDInfoBuilder() : CPDInfoBuilder(0xFF) {}

CPDInfoBuilder::CPDInfoBuilder(unsigned char pdId) : m_pdId(pdId) {
    LOG_ENTRY;
    m_pCommand = stg::createCommand();
    LOG_EXIT;
}

CPDInfoBuilder::~CPDInfoBuilder() {
    LOG_ENTRY;
    m_pCommand.reset();
    m_pReply.reset();
    LOG_EXIT;
}

RESULT CPDInfoBuilder::buildCommand() {
    LOG_ENTRY;
    if (m_pCommand) {
        m_pCommand->setcdw0(0xE2);
        m_pReply = stg::attachReply(*m_pCommand, 0x1000);
    }
    if (m_pReply) {
        m_pCommand->setcdw9(0x1000);
        m_pCommand->setcdw10(0x400);
        m_pCommand->setcdw12(0xE1);
        m_pCommand->setcdw14(m_pdId);
    }
    LOG_EXIT;
    return m_pReply ? 0 : 1;
}

VOID_ CPDInfoBuilder::execute() {
    LOG_ENTRY;
    ICommandBuilder::execute();
    stg::sendCommand(*this, m_pCommand.get());
    LOG_EXIT;
}

CCommandDword* CPDInfoBuilder::getCCommandDwordObject() {
    return m_pCommand.get();
}

VOID_ CPDInfoBuilder::setPDId(unsigned char pdId) {
    m_pdId = pdId;
}

unsigned char CPDInfoBuilder::getPDId() {
    return m_pdId;
}

CCommandDword* CPDInfoBuilder::getPDInfoCommand() {
    return m_pCommand.get();
}
