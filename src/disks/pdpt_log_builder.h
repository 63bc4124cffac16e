// Reads a log page of one physical disk, carried through the controller.
#pragma once

#include "transport/command_steps.h"

#include <memory>

class CPDPTLogBuilder : public ICommandBuilder {
public:
    CPDPTLogBuilder();  // without a command: of no use
    CPDPTLogBuilder(unsigned char pdId, unsigned char logPageId);
    ~CPDPTLogBuilder() override;

    RESULT buildCommand() override;
    VOID_ execute() override;
    CCommandDword* getCCommandDwordObject() override;

    VOID_ setPDId(unsigned char pdId);
    unsigned char getPDId();
    VOID_ setLogPageID(unsigned char logPageId);
    unsigned char getLogPageID();
    CCommandDword* getCPDPTLogCommand();

private:
    std::unique_ptr<CCommandDword> m_pCommand;
    UCHAR_ m_pdId = 0;
    UCHAR_ m_logPageId = 0;
    ReplyBuffer m_pReply;  // 512 bytes
};
