// The dump of PCI configuration space. Input: the adapter's name, kPartEnd, and the text of the
// file.
#include "fuzz_target.h"
#include "input.h"
#include "private_host.h"

#include "transport/command_dword.h"
#include "transport/pcie_link_info.h"
#include "transport/vmware_device_talker.h"

#include <cctype>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace {

using veskfuzz::require;

// The second reader, written plainly from the rules of the format.

std::vector<std::string> linesOf(const std::string& file) {
    std::vector<std::string> lines;
    std::string line;
    for (const char byte : file) {
        if (byte == '\n') {
            lines.push_back(line);
            line.clear();
        } else {
            line += byte;
        }
    }
    if (!line.empty()) {
        lines.push_back(line);
    }
    return lines;
}

int digit(const std::string& line, std::size_t column) {
    if (column >= line.size() || std::isxdigit(static_cast<unsigned char>(line[column])) == 0) {
        return -1;
    }
    const char byte = static_cast<char>(std::tolower(line[column]));
    return byte <= '9' ? byte - '0' : byte - 'a' + 10;
}

// Two digits in each third column, the second may be missing; false if there is a column without.
bool readDumpLine(const std::string& line, std::vector<unsigned>& dump) {
    bool good = true;
    const std::size_t end = line.size() % 0x10000;
    for (std::size_t column = 0; column < end; column += 3) {
        const int high = digit(line, column);
        const int low = digit(line, column + 1);
        if (high < 0) {
            good = false;
        } else {
            dump.push_back(static_cast<unsigned>(low < 0 ? high : high * 16 + low));
        }
    }
    return good;
}

std::optional<std::vector<unsigned>> linkOf(const std::vector<unsigned>& dump) {
    std::size_t at = 0x34;
    for (int step = 0; step <= 6; ++step) {
        if (at >= dump.size()) {
            return std::nullopt;
        }
        const unsigned offset = dump[at];
        if (step == 6 || offset >= dump.size()) {
            return std::nullopt;
        }
        if (dump[offset] == 0x10) {
            if (offset + 0x12 >= dump.size()) {
                return std::nullopt;
            }
            const unsigned now = dump[offset + 0x12];
            const unsigned most = dump[offset + 0x0C];
            return std::vector<unsigned>{now & 15U, most & 15U, now / 16, most / 16};
        }
        at = offset + 1;
    }
    return std::nullopt;
}

std::optional<std::vector<unsigned>> readPlainly(const std::string& file, const std::string& name) {
    const std::vector<std::string> lines = linesOf(file);
    std::optional<std::vector<unsigned>> link;
    std::vector<unsigned> dump;
    bool good = false;
    int taken = 0;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (lines[i].find(name) == std::string::npos) {
            continue;
        }
        while (taken < 16 && i + 1 < lines.size()) {
            ++taken;
            good = readDumpLine(lines[++i], dump);
            if (!good) {
                break;
            }
        }
        link = good ? linkOf(dump) : std::nullopt;
        good = link.has_value();
    }
    return link;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const vesktest::PrivateHost host;
    veskfuzz::Input input(data, size);
    const std::string name = input.until(veskfuzz::kPartEnd).substr(0, 31).c_str();
    const std::string file = input.rest();
    host.write(vesktest::kPciConfigPath, file);

    nvme_handle adapter = {};
    std::memcpy(adapter.name, name.data(), name.size());
    CVMWareZNVDeviceTalker talker;
    talker.setHandle(&adapter);
    const std::unique_ptr<_VESKPCIInfo> reply = std::make_unique<_VESKPCIInfo>();
    std::memset(reply.get(), 0xA5, sizeof(*reply));
    CCommandDword command;
    command.setcdw_6_7(reply.get());
    command.setcdw9(sizeof(*reply));
    const RESULT result = talker.executeCMD(&command, 0);
    talker.setHandle(nullptr);

    const std::vector<unsigned> untouched(4, 0xA5);
    const auto link = readPlainly(file, name);
    require((result == 0) == link.has_value(), "both readers find the link, or neither");
    require(std::vector<unsigned>({reply->negotiatedLinkSpeed, reply->maxLinkSpeed,
                                   reply->negotiatedLinkWidth, reply->maxLinkWidth}) ==
                link.value_or(untouched),
            "both read the same link, and a failure leaves the reply as it was");
    return 0;
}
