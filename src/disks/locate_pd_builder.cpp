#include "disks/locate_pd_builder.h"

#include "support/log_line.h"
#include "support/trace.h"

CLocatePDBuilder::CLocatePDBuilder() : m_pdId(0), m_ledStatus(0) {
    LOG_ENTRY;
    LOG_EXIT;
}

CLocatePDBuilder::CLocatePDBuilder(void* oemData) : m_pdId(0), m_ledStatus(0) {
    LOG_ENTRY;
    m_pCommand = std::make_unique<CCommandDword>();
    const auto* const request = static_cast<const PD_OEM_Data*>(oemData);
    setPDId(request->pdId);
    setPDLEDStatus(request->ledStatus);
    LOG_EXIT;
}

CLocatePDBuilder::~CLocatePDBuilder() {
    LOG_ENTRY;
    m_pCommand.reset();
    m_pReply.reset();
    LOG_EXIT;
}

RESULT CLocatePDBuilder::buildCommand() {
    LOG_ENTRY;
    if (m_pCommand) {
        m_pCommand->setcdw0(0xE2);
        m_pReply = stg::attachReply(*m_pCommand, 0x1000);
    }
    if (m_pReply) {
        m_pCommand->setcdw12(0x7E1);
        if (m_ledStatus != 0) {
            stg::logLine("Blink initiated for PD ", getPDId());
            m_pCommand->setcdw14(0x20000 | m_pdId);
        } else {
            stg::logLine("Blink ceased for PD ", getPDId());
            m_pCommand->setcdw14(m_pdId);
        }
    }
    LOG_EXIT;
    return m_pReply ? 0 : 1;
}

VOID_ CLocatePDBuilder::execute() {
    LOG_ENTRY;
    ICommandBuilder::execute();
    stg::sendCommand(*this, m_pCommand.get());
    LOG_EXIT;
}

// ODDITY: two bits and no more, as the command has for it: disk 5 is disk 1, in the command and in
// the log. Pinned by LocateCommand.DiskFiveIsDiskOne.
VOID_ CLocatePDBuilder::setPDId(unsigned char pdId) {
    m_pdId = pdId & 0x03;
}

unsigned char CLocatePDBuilder::getPDId() {
    return m_pdId;
}

VOID_ CLocatePDBuilder::setPDLEDStatus(unsigned char ledStatus) {
    m_ledStatus = ledStatus;
}

unsigned char CLocatePDBuilder::getPDLEDStatus() {
    return m_ledStatus;
}

CCommandDword* CLocatePDBuilder::getLocatePDCommand() {
    return m_pCommand.get();
}
