// Starts or stops the locate blink of one physical disk's LED. Carries no data, although a buffer
// is attached.
#pragma once

#include "transport/command_steps.h"

#include <memory>

class CLocatePDBuilder : public ICommandBuilder {
public:
    CLocatePDBuilder();  // without a command: of no use
    // Takes disk and LED status out of a PD_OEM_Data, to which no pointer is kept.
    explicit CLocatePDBuilder(void* oemData);
    ~CLocatePDBuilder() override;

    RESULT buildCommand() override;
    VOID_ execute() override;

    VOID_ setPDId(unsigned char pdId);
    unsigned char getPDId();
    VOID_ setPDLEDStatus(unsigned char ledStatus);
    unsigned char getPDLEDStatus();
    CCommandDword* getLocatePDCommand();

private:
    std::unique_ptr<CCommandDword> m_pCommand;
    UCHAR_ m_pdId : 2;
    UCHAR_ m_ledStatus;  // 0 stops, any other value starts
    ReplyBuffer m_pReply;
};
