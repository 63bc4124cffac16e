#include "transport/pci_dump_parser.h"

#include "support/log_line.h"
#include "support/trace.h"

#include <array>
#include <stdexcept>

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

// Traced under the names of the operations that they do the work of: the lines of the log are
// fixed.
constexpr const char* kFetchLine =
    "RESULT stg::IZNVDeviceTalker_Helper::fetchHexDumpLineIntoVector(STDSTR, "
    "std::vector<USHORT_INT>&, USHORT_INT)";
constexpr const char* kParseDump =
    "RESULT stg::IZNVDeviceTalker_Helper::parsePCIHexDump(std::vector<USHORT_INT>, "
    "std::map<STDSTR, USHORT_INT>&)";

// What the standard conversion says of a text without a digit, and so does the log.
constexpr const char* kNoNumber = "stoul";

// The value of each character as a hexadecimal digit, -1 for those that are none. A table, as a
// dump's digits follow no pattern that branches could be predicted by.
constexpr std::array<signed char, 256> digitValues() {
    std::array<signed char, 256> values = {};
    for (signed char& value : values) {
        value = -1;
    }
    for (int digit = 0; digit < 16; ++digit) {
        const auto value = static_cast<signed char>(digit);
        values[static_cast<unsigned char>("0123456789abcdef"[digit])] = value;
        values[static_cast<unsigned char>("0123456789ABCDEF"[digit])] = value;
    }
    return values;
}
constexpr std::array<signed char, 256> kDigitValues = digitValues();

int digitValue(char character) {
    return kDigitValues[static_cast<unsigned char>(character)];
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

RESULT appendDumpLine(std::string_view line, std::vector<USHORT_INT>& dump,
                      USHORT_INT firstColumn) {
    LOG_ENTRY_AS(kFetchLine);
    RESULT result = 0;
    // The length counts in 16 bits; the column must not, or it would wrap and never pass the
    // length.
    const auto length = static_cast<USHORT_INT>(line.size());
    // Room for all columns at once: appending one by one costs more than all the rest.
    const std::size_t before = dump.size();
    dump.resize(before + (length + 2U) / 3);
    USHORT_INT* next = dump.data() + before;
    for (std::size_t column = firstColumn; column < length; column += 3) {
        // A text of one digit, where the line ends or something else follows, is a number too.
        const int high = digitValue(line[column]);
        const int low = column + 1 < line.size() ? digitValue(line[column + 1]) : -1;
        if (high >= 0) {
            *next = static_cast<USHORT_INT>(low >= 0 ? high * 16 + low : high);
            ++next;
        } else {
            logLine(
                "IZNVDeviceTalker_Helper::fetchHexDumpLineIntoVector(): Error fetching number from "
                "hex string: ",
                kNoNumber);
            result = 1;
        }
    }
    dump.resize(static_cast<std::size_t>(next - dump.data()));
    LOG_EXIT_AS(kFetchLine);
    return result;
}

RESULT IZNVDeviceTalker_Helper::fetchHexDumpLineIntoVector(STDSTR line,
                                                           std::vector<USHORT_INT>& dump,
                                                           USHORT_INT firstColumn) {
    return appendDumpLine(line, dump, firstColumn);
}

RESULT parseLink(const std::vector<USHORT_INT>& dump, LinkValues& link) {
    LOG_ENTRY_AS(kParseDump);
    RESULT result = 1;
    try {
        std::size_t capability = 0;
        if (findPciExpress(dump, capability)) {
            const USHORT_INT status = dump.at(capability + kLinkStatus);
            const USHORT_INT limits = dump.at(capability + kLinkCapabilities);
            link = {speed(status), speed(limits), width(status), width(limits)};
            result = 0;
        }
    } catch (const std::out_of_range&) {
        // A dump that was cut short, or a pointer behind its end: the same as a capability that is
        // not there.
        result = 1;
    }
    LOG_EXIT_AS(kParseDump);
    return result;
}

void nameLinkValues(const LinkValues& link, std::map<STDSTR, USHORT_INT>& values) {
    values["Negotiated Link Speed"] = link.negotiatedSpeed;
    values["Max Link Speed"] = link.maxSpeed;
    values["Negotiated Link Width"] = link.negotiatedWidth;
    values["Max Link Width"] = link.maxWidth;
}

RESULT IZNVDeviceTalker_Helper::parsePCIHexDump(std::vector<USHORT_INT> dump,
                                                std::map<STDSTR, USHORT_INT>& values) {
    LinkValues link;
    const RESULT result = parseLink(dump, link);
    if (result == 0) {
        nameLinkValues(link, values);
    }
    return result;
}

}  // namespace stg
