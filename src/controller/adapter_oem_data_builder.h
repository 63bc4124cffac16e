// Reads the adapter's OEM data. Nothing uses it: the reply has no reader.
#pragma once

#include "transport/command_steps.h"

#include <memory>

class CAdapterOEMDataBuilder : public ICommandBuilder {
public:
    CAdapterOEMDataBuilder();
    ~CAdapterOEMDataBuilder() override;

    RESULT buildCommand() override;
    VOID_ execute() override;
    CCommandDword* getAdapterOEMDataCommand();

private:
    std::unique_ptr<CCommandDword> m_pCommand;
    ReplyBuffer m_pReply;  // 4096 bytes
};
