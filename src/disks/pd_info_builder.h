// Reads the controller's record of one physical disk, a _PDInfoData.
#pragma once

#include "transport/command_steps.h"

#include <memory>

class CPDInfoBuilder : public ICommandBuilder {
public:
    CPDInfoBuilder();  // disk 0xFF
    explicit CPDInfoBuilder(unsigned char pdId);
    ~CPDInfoBuilder() override;

    RESULT buildCommand() override;
    VOID_ execute() override;
    CCommandDword* getCCommandDwordObject() override;

    VOID_ setPDId(unsigned char pdId);
    unsigned char getPDId();
    CCommandDword* getPDInfoCommand();

private:
    std::unique_ptr<CCommandDword> m_pCommand;  // null only if there was no memory for it
    UCHAR_ m_pdId;                              // sent as it stands
    ReplyBuffer m_pReply;
};
