// The command builders: each owns one command record and one data buffer, and serves one command.
//
// Order of use: construct, set parameters, buildCommand(), execute(), fetch the record, read the
// reply at getcdw_6_7(), destroy. The reply goes with the builder.
#pragma once

#include "transport/command_dword.h"

class ICommandBuilder {
public:
    ICommandBuilder();
    virtual ~ICommandBuilder();

    // Fills the record and gets the zeroed buffer. 0, or 1 when there was no memory for it; the
    // error state says so too.
    virtual RESULT buildCommand() = 0;

    // Sends the record. A failed command shows only in the log and in the zeros of the buffer.
    // The body, which builders of device commands call first, sets the request code to 1.
    virtual VOID_ execute() = 0;

    // The record, which stays the builder's. Null in builders that have an accessor of their own
    // only.
    virtual CCommandDword* getCCommandDwordObject();

    VOID_ setdwIOCTLcode(ULONG_INT code);
    ULONG_INT getdwIOCTLcode();

private:
    ULONG_INT dwIOCTLcode = 0;  // 1: device command, 0: PCI link data of the host's files
};
