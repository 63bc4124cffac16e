// Reads a piece of the controller's event log area.
#pragma once

#include "transport/command_steps.h"

#include <memory>

// Unlike other command builders it serves many commands: buildCommand() keeps its buffer and clears
// it each time.
class CZNVEventBuilder : public ICommandBuilder {
public:
    CZNVEventBuilder();
    ~CZNVEventBuilder() override;

    RESULT buildCommand() override;
    VOID_ execute() override;

    VOID_ setZNVEventOffset(UNSIGNED_INTEGER offset);  // bytes into the area
    UNSIGNED_INTEGER getZNVEventOffset();
    VOID_ setZNVEventPageLength(UNSIGNED_INTEGER length);  // bytes wanted
    UNSIGNED_INTEGER getZNVEventPageLength();
    CCommandDword* getZNVEventCommand();

private:
    std::unique_ptr<CCommandDword> m_pCommand;
    UNSIGNED_INTEGER m_eventOffset = 0;
    UNSIGNED_INTEGER m_pageLength = 0;
    ReplyBuffer m_pReply;  // 4096 bytes
};
