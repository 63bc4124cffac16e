// The three reads of an adapter page. They differ in their sub-command; only the first is in use,
// the replies of the other two have no reader.
#pragma once

#include "transport/reply_buffer.h"

#include <memory>

// Reads _AdapaterData.
class CAdapterInfoBuilder : public ICommandBuilder {
public:
    CAdapterInfoBuilder();
    ~CAdapterInfoBuilder() override;

    RESULT buildCommand() override;
    VOID_ execute() override;
    CCommandDword* getAdapterInfoCommand();

private:
    std::unique_ptr<CCommandDword> m_pCommand;
    ReplyBuffer m_pReply;
};

class CAdapterConfigBuilder : public ICommandBuilder {
public:
    CAdapterConfigBuilder();
    ~CAdapterConfigBuilder() override;

    RESULT buildCommand() override;
    VOID_ execute() override;
    CCommandDword* getAdapterConfigCommand();

private:
    std::unique_ptr<CCommandDword> m_pCommand;
    ReplyBuffer m_pReply;
};

class CAdapterOEMDataBuilder : public ICommandBuilder {
public:
    CAdapterOEMDataBuilder();
    ~CAdapterOEMDataBuilder() override;

    RESULT buildCommand() override;
    VOID_ execute() override;
    CCommandDword* getAdapterOEMDataCommand();

private:
    std::unique_ptr<CCommandDword> m_pCommand;
    ReplyBuffer m_pReply;
};
