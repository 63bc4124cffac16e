// Reads the controller's record of one virtual disk, a _vdInfoData.
#pragma once

#include "transport/command_steps.h"

#include <memory>

class CVDInfoBuilder : public ICommandBuilder {
public:
    CVDInfoBuilder();  // virtual disk 0xFF
    explicit CVDInfoBuilder(unsigned short vdId);
    ~CVDInfoBuilder() override;

    RESULT buildCommand() override;
    VOID_ execute() override;
    CCommandDword* getCCommandDwordObject() override;

    VOID_ setVDId(unsigned char vdId);
    unsigned char getVDId();
    CCommandDword* getVDInfoCommand();

private:
    std::unique_ptr<CCommandDword> m_pCommand;  // null only if there was no memory for it
    UCHAR_ m_vdId;                              // low byte of what the constructor got
    ReplyBuffer m_pReply;
};
