// Reads the adapter information, an _AdapaterData.
#pragma once

#include "transport/command_steps.h"

#include <memory>

class CAdapterInfoBuilder : public ICommandBuilder {
public:
    CAdapterInfoBuilder();
    ~CAdapterInfoBuilder() override;

    RESULT buildCommand() override;
    VOID_ execute() override;
    CCommandDword* getAdapterInfoCommand();

private:
    std::unique_ptr<CCommandDword> m_pCommand;
    ReplyBuffer m_pReply;  // 4096 bytes
};
