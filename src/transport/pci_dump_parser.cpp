#include "transport/pci_dump_parser.h"

#include "support/log_line.h"
#include "support/trace.h"

#include <cctype>
#include <stdexcept>
#include <string>

namespace {

constexpr USHORT_INT kCapabilitiesPointer = 0x34;
constexpr USHORT_INT kPciExpressCapability = 0x10;
constexpr USHORT_INT kLinkCapabilities = 0x0C;  // low byte: speed in bits 0 to 3, width above
constexpr USHORT_INT kLinkStatus = 0x12;        // the same
constexpr int kMaxHops = 6;

// Where the PCI Express capability lies, or std::out_of_range behind the end of the dump; false
// when six hops did not lead there.
bool findPciExpress(const std::vector<USHORT_INT>& dump, std::size_t& capability) {
    std::size_t offset = dump.at(kCapabilitiesPointer);
    stg::logLine("IZNVDeviceTalker_Helper::parsePCIHexDump(): Initial Offset: ", offset);
    // ODDITY: a next pointer of 0 does not end the walk: the header's first bytes are then read as
    // a capability until the hops run out. Pinned by PciDump.NextPointerZeroIsFollowed.
    for (int hops = 0; hops < kMaxHops; ++hops) {
        const USHORT_INT id = dump.at(offset);
        stg::logLine("IZNVDeviceTalker_Helper::parsePCIHexDump(): Current Capability: ", id);
        if (id == kPciExpressCapability) {
            capability = offset;
            return true;
        }
        offset = dump.at(offset + 1);
        stg::logLine("IZNVDeviceTalker_Helper::parsePCIHexDump(): Current Offset: ", offset);
    }
    return false;
}

// One configuration byte of the dump. Digits only in front: no sign and no blank, which the
// standard conversion would take.
USHORT_INT hexByte(const std::string& text) {
    if (text.empty() || std::isxdigit(static_cast<unsigned char>(text.front())) == 0) {
        throw std::invalid_argument("stoul");
    }
    return static_cast<USHORT_INT>(std::stoul(text, nullptr, 16));
}

USHORT_INT speed(USHORT_INT lowByte) {
    return lowByte & 0x0F;
}

// ODDITY: only the low byte of the register is looked at, so bits 8 and 9 of the field are out of
// reach and a link of 16 lanes reads as 0. Pinned by PciDump.SixteenLanesReadAsZero.
USHORT_INT width(USHORT_INT lowByte) {
    return static_cast<USHORT_INT>((lowByte >> 4) & 0x1F);
}

}  // namespace

namespace stg {

RESULT IZNVDeviceTalker_Helper::fetchHexDumpLineIntoVector(STDSTR line,
                                                           std::vector<USHORT_INT>& dump,
                                                           USHORT_INT firstColumn) {
    LOG_ENTRY;
    RESULT result = 0;
    // The length counts in 16 bits; the column must not, or it would wrap and never pass the
    // length.
    const auto length = static_cast<USHORT_INT>(line.size());
    for (std::size_t column = firstColumn; column < length; column += 3) {
        try {
            dump.push_back(hexByte(line.substr(column, 2)));
        } catch (const std::logic_error& error) {
            logLine(
                "IZNVDeviceTalker_Helper::fetchHexDumpLineIntoVector(): Error fetching number from "
                "hex string: ",
                error.what());
            result = 1;
        }
    }
    LOG_EXIT;
    return result;
}

RESULT IZNVDeviceTalker_Helper::parsePCIHexDump(std::vector<USHORT_INT> dump,
                                                std::map<STDSTR, USHORT_INT>& values) {
    LOG_ENTRY;
    RESULT result = 1;
    try {
        std::size_t capability = 0;
        if (findPciExpress(dump, capability)) {
            const USHORT_INT status = dump.at(capability + kLinkStatus);
            const USHORT_INT limits = dump.at(capability + kLinkCapabilities);
            values["Negotiated Link Speed"] = speed(status);
            values["Max Link Speed"] = speed(limits);
            values["Negotiated Link Width"] = width(status);
            values["Max Link Width"] = width(limits);
            result = 0;
        }
    } catch (const std::out_of_range&) {
        // A dump that was cut short, or a pointer behind its end: the same as a capability that is
        // not there.
        result = 1;
    }
    LOG_EXIT;
    return result;
}

}  // namespace stg
