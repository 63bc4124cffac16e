#include "transport/i_command_builder.h"

#include "support/trace.h"

ICommandBuilder::ICommandBuilder() {
    LOG_ENTRY;
    LOG_EXIT;
}

ICommandBuilder::~ICommandBuilder() = default;

VOID_ ICommandBuilder::execute() {
    LOG_ENTRY;
    setdwIOCTLcode(1);
    LOG_EXIT;
}

CCommandDword* ICommandBuilder::getCCommandDwordObject() {
    return nullptr;
}

VOID_ ICommandBuilder::setdwIOCTLcode(ULONG_INT code) {
    dwIOCTLcode = code;
}

ULONG_INT ICommandBuilder::getdwIOCTLcode() {
    return dwIOCTLcode;
}
