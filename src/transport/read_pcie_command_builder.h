// Asks for the PCIe link data of the controller as if by a device command. The answer is a
// _VESKPCIInfo and comes from a file of the host: no command is sent.
#pragma once

#include "transport/command_steps.h"

#include <memory>

class CReadPCIeCommandBuilder : public ICommandBuilder {
public:
    CReadPCIeCommandBuilder();
    ~CReadPCIeCommandBuilder() override;

    RESULT buildCommand() override;
    VOID_ execute() override;
    CCommandDword* getReadPCIeInfoCommand();

private:
    std::unique_ptr<CCommandDword> m_pCommand;
    ReplyBuffer m_pReply;
};
