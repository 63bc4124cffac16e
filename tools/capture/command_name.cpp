#include "capture/command_name.h"

#include <cstdio>

namespace veskcap {

namespace {

std::string number(UNSIGNED_INTEGER value) {
    return std::to_string(value);
}

std::string hex(UNSIGNED_INTEGER value) {
    char text[16];
    std::snprintf(text, sizeof(text), "0x%x", value);
    return text;
}

std::string vendorCommandName(const nvme_uio& command) {
    constexpr UNSIGNED_INTEGER kController = 0xD;
    constexpr UNSIGNED_INTEGER kStart = 0x20000;
    switch (command.cdw12) {
    case 0xE0:
        return command.cdw14 == kController ? "information on the controller"
                                            : "information on target " + hex(command.cdw14);
    case 0xE1:
        return "information on disk " + number(command.cdw14);
    case 0xE2:
        return "information on volume " + number(command.cdw14);
    case 0xE4:
        return "OEM data";
    case 0x4FE:
        return "event log, " + number(command.cdw14) + " bytes at " + number(command.cdw13);
    case 0x7E1:
        return std::string("locate light ") + ((command.cdw14 & kStart) != 0 ? "on" : "off") +
               " at disk " + number(command.cdw14 & 3U);
    default:
        return "vendor command " + hex(command.cdw12);
    }
}

}  // namespace

std::string commandName(const nvme_uio& command) {
    constexpr UNSIGNED_INTEGER kGetLogPage = 2;
    constexpr UNSIGNED_INTEGER kHealth = 2;
    switch (command.opcode) {
    case 0x06:
        return (command.cdw10 & 0xFFU) == 1 ? "identify controller" : "identify";
    case 0xC2:
        if (command.cdw14 == kGetLogPage) {
            const UNSIGNED_INTEGER page = command.cdw10 & 0xFFU;
            return (page == kHealth ? std::string("health page") : "log page " + number(page)) +
                   " of disk " + number(command.nsid);
        }
        return "command " + hex(command.cdw14) + " for disk " + number(command.nsid);
    case 0xE2:
        return vendorCommandName(command);
    default:
        return "command " + hex(command.opcode);
    }
}

std::string commandNumbers(const nvme_uio& command) {
    std::string text = "opcode " + hex(command.opcode) + ", nsid " + hex(command.nsid);
    const UNSIGNED_INTEGER dwords[] = {command.cdw10, command.cdw11, command.cdw12,
                                       command.cdw13, command.cdw14, command.cdw15};
    for (unsigned i = 0; i < 6; ++i) {
        text += ", cdw" + number(10 + i) + " " + hex(dwords[i]);
    }
    return text + ", " + number(command.dataLength) + " bytes";
}

}  // namespace veskcap
