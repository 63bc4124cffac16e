#include "disks/vd_info_builder.h"

#include "support/trace.h"
#include "transport/command_creation.h"

CVDInfoBuilder::CVDInfoBuilder() : CVDInfoBuilder(0xFF) {}

CVDInfoBuilder::CVDInfoBuilder(unsigned short vdId) : m_vdId(static_cast<UCHAR_>(vdId & 0xFF)) {
    LOG_ENTRY;
    m_pCommand = createCommand();
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
        m_pReply = buildInformationRead(*m_pCommand, 0x000000E2);
    }
    if (m_pReply) {
        m_pCommand->setcdw14(m_vdId);
    }
    LOG_EXIT;
    return m_pReply ? 0 : 1;
}

VOID_ CVDInfoBuilder::execute() {
    LOG_ENTRY;
    ICommandBuilder::execute();
    sendCommand(*this, m_pCommand.get());
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
