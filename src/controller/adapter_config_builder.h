// Reads the adapter configuration. Nothing uses it: the reply has no reader.
#pragma once

#include "transport/command_steps.h"

#include <memory>

class CAdapterConfigBuilder : public ICommandBuilder {
public:
    CAdapterConfigBuilder();
    ~CAdapterConfigBuilder() override;

    RESULT buildCommand() override;
    VOID_ execute() override;
    CCommandDword* getAdapterConfigCommand();

private:
    std::unique_ptr<CCommandDword> m_pCommand;
    ReplyBuffer m_pReply;  // 4096 bytes
};
