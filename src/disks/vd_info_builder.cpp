#include "disks/vd_info_builder.h"

#include "support/trace.h"

CVDInfoBuilder::CVDInfoBuilder() : CVDInfoBuilder(0xFF) {}

CVDInfoBuilder::CVDInfoBuilder(unsigned short vdId) : m_vdId(static_cast<UCHAR_>(vdId & 0xFF)) {
    LOG_ENTRY;
    m_pCommand = stg::createCommand();
    LOG_EXIT;
}

CVDInfoBuilder::~CVDInfoBuilder() {
    LOG_ENTRY;
    m_pCommand.reset();
    m_pReply.reset();
    LOG_EXIT;
}

RESULT CVDInfoBuilder::buildCommand() {
    LOG_ENTRY;
    if (m_pCommand) {
        m_pCommand->setcdw0(0xE2);
        m_pReply = stg::attachReply(*m_pCommand, 0x1000);
    }
    if (m_pReply) {
        m_pCommand->setcdw9(0x1000);
        m_pCommand->setcdw10(0x400);
        m_pCommand->setcdw12(0xE2);
        m_pCommand->setcdw14(m_vdId);
    }
    LOG_EXIT;
    return m_pReply ? 0 : 1;
}

VOID_ CVDInfoBuilder::execute() {
    LOG_ENTRY;
    ICommandBuilder::execute();
    stg::sendCommand(*this, m_pCommand.get());
    LOG_EXIT;
}

CCommandDword* CVDInfoBuilder::getCCommandDwordObject() {
    return m_pCommand.get();
}

VOID_ CVDInfoBuilder::setVDId(unsigned char vdId) {
    m_vdId = vdId;
}

unsigned char CVDInfoBuilder::getVDId() {
    return m_vdId;
}

CCommandDword* CVDInfoBuilder::getVDInfoCommand() {
    return m_pCommand.get();
}
