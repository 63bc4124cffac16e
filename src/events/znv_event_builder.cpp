#include "events/znv_event_builder.h"

#include "support/log_line.h"
#include "support/trace.h"

#include <cstring>

CZNVEventBuilder::CZNVEventBuilder() {
    LOG_ENTRY;
    m_pCommand = std::make_unique<CCommandDword>();
    LOG_EXIT;
}

CZNVEventBuilder::~CZNVEventBuilder() {
    LOG_ENTRY;
    m_pCommand.reset();
    m_pReply.reset();
    LOG_EXIT;
}

RESULT CZNVEventBuilder::buildCommand() {
    LOG_ENTRY;
    m_pCommand->setcdw0(0xE2);
    if (m_pReply) {
        // A read that fails must not show the text of the one before it.
        std::memset(m_pReply.get(), 0, 0x1000);
    } else {
        m_pReply = stg::attachReply(*m_pCommand, 0x1000, "CZNVEventBuilder::buildCommand(): ");
    }
    if (m_pReply) {
        // ODDITY: length and size are those of a whole page, also for a read of 16 bytes; what is
        // wanted goes into cdw14. Pinned by EventCommand.CarryReadDiffersInOffsetAndLengthOnly.
        m_pCommand->setcdw9(0x1000);
        m_pCommand->setcdw10(0x3FF);
        m_pCommand->setcdw12(0x4FE);
        stg::logLine("CZNVEventBuilder: CDW12 = ", m_pCommand->getcdw12());
        m_pCommand->setcdw13(m_eventOffset);
        m_pCommand->setcdw14(m_pageLength);
    }
    LOG_EXIT;
    return m_pReply ? 0 : 1;
}

VOID_ CZNVEventBuilder::execute() {
    LOG_ENTRY;
    ICommandBuilder::execute();
    stg::sendCommand(*this, m_pCommand.get());
    LOG_EXIT;
}

VOID_ CZNVEventBuilder::setZNVEventOffset(UNSIGNED_INTEGER offset) {
    m_eventOffset = offset;
}

UNSIGNED_INTEGER CZNVEventBuilder::getZNVEventOffset() {
    return m_eventOffset;
}

VOID_ CZNVEventBuilder::setZNVEventPageLength(UNSIGNED_INTEGER length) {
    m_pageLength = length;
}

UNSIGNED_INTEGER CZNVEventBuilder::getZNVEventPageLength() {
    return m_pageLength;
}

CCommandDword* CZNVEventBuilder::getZNVEventCommand() {
    return m_pCommand.get();
}
