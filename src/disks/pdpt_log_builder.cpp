#include "disks/pdpt_log_builder.h"

#include "support/log_line.h"
#include "support/trace.h"

CPDPTLogBuilder::CPDPTLogBuilder() {
    LOG_ENTRY;
    LOG_EXIT;
}

CPDPTLogBuilder::CPDPTLogBuilder(unsigned char pdId, unsigned char logPageId)
    : m_pdId(pdId), m_logPageId(logPageId) {
    LOG_ENTRY;
    m_pCommand = std::make_unique<CCommandDword>();
    LOG_EXIT;
}

CPDPTLogBuilder::~CPDPTLogBuilder() {
    LOG_ENTRY;
    m_pCommand.reset();
    m_pReply.reset();
    LOG_EXIT;
}

RESULT CPDPTLogBuilder::buildCommand() {
    LOG_ENTRY;
    if (m_pCommand) {
        m_pCommand->setcdw0(0xC2);
        m_pCommand->setcdw1(m_pdId);
        m_pReply = stg::attachReply(*m_pCommand, 0x200);
    }
    if (m_pReply) {
        m_pCommand->setcdw9(0x200);
        const UNSIGNED_INTEGER dword10 = 0x7F0000 | m_logPageId;
        stg::logLine("CPDPTLogBuilder: CDW10 = ", dword10);
        m_pCommand->setcdw10(dword10);
        m_pCommand->setcdw14(0x2);
        m_pCommand->setcdw15(0xFFFFFFFF);
    }
    LOG_EXIT;
    return m_pReply ? 0 : 1;
}

VOID_ CPDPTLogBuilder::execute() {
    LOG_ENTRY;
    setdwIOCTLcode(1);
    stg::sendCommand(*this, m_pCommand.get());
    LOG_EXIT;
}

CCommandDword* CPDPTLogBuilder::getCCommandDwordObject() {
    return m_pCommand.get();
}

VOID_ CPDPTLogBuilder::setPDId(unsigned char pdId) {
    m_pdId = pdId;
}

unsigned char CPDPTLogBuilder::getPDId() {
    return m_pdId;
}

VOID_ CPDPTLogBuilder::setLogPageID(unsigned char logPageId) {
    m_logPageId = logPageId;
}

unsigned char CPDPTLogBuilder::getLogPageID() {
    return m_logPageId;
}

CCommandDword* CPDPTLogBuilder::getCPDPTLogCommand() {
    return m_pCommand.get();
}
