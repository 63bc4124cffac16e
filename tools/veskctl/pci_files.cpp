#include "veskctl/pci_files.h"

#include "veskctl/controller.h"
#include "veskctl/format.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <sstream>

namespace veskctl {

namespace {

constexpr const char* kAddressFile = "/opt/orvo/pciconfig/Templspcibdf.txt";
constexpr const char* kDumpFile = "/opt/orvo/pciconfig/Templspciconfig.txt";
constexpr const char* kRemedy = "have vesk-pciconfig make both files anew";
constexpr std::size_t kDumpBytes = 256;

bool isHex(const std::string& text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](unsigned char character) {
        return std::isxdigit(character) != 0;
    });
}

// "3b:00.0" out of "0000:3b:00.0" or "3b:00.0".
std::string addressOf(const std::string& title) {
    const std::string word = title.substr(0, title.find_first_of(" \t\r"));
    const std::size_t begin = word.size() == 12 ? 5 : 0;
    const std::string address = word.substr(begin);
    const bool isAddress = address.size() == 7 && isHex(address.substr(0, 2)) &&
                           address[2] == ':' && isHex(address.substr(3, 2)) && address[5] == '.' &&
                           isHex(address.substr(6));
    return isAddress ? address : "";
}

// The bytes of a row, with or without an offset in front.
std::vector<unsigned> bytesOf(const std::string& line) {
    std::vector<unsigned> bytes;
    std::istringstream words(line);
    std::string word;
    while (words >> word) {
        if (bytes.empty() && word.back() == ':') {
            continue;
        }
        if (word.size() != 2 || !isHex(word)) {
            break;
        }
        bytes.push_back(static_cast<unsigned>(std::strtoul(word.c_str(), nullptr, 16)));
    }
    return bytes;
}

std::vector<PciDump> readDumps(const std::string& text) {
    std::vector<PciDump> dumps;
    std::vector<unsigned> head;
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) {
        const std::vector<unsigned> bytes = bytesOf(line);
        if (bytes.empty()) {
            dumps.push_back({line, addressOf(line)});
            head.clear();
        } else if (!dumps.empty()) {
            PciDump& dump = dumps.back();
            dump.byteCount += bytes.size();
            head.insert(head.end(), bytes.begin(), bytes.end());
            if (head.size() >= 4) {
                dump.vendorId = static_cast<std::uint16_t>(head[0] | (head[1] << 8U));
                dump.deviceId = static_cast<std::uint16_t>(head[2] | (head[3] << 8U));
            }
        }
    }
    dumps.erase(std::remove_if(dumps.begin(), dumps.end(),
                               [](const PciDump& dump) { return dump.byteCount == 0; }),
                dumps.end());
    return dumps;
}

void reportUnread(const FileText& file, const std::string& lost, std::vector<Finding>& findings) {
    if (file.state == FileState::Read) {
        if (file.size == 0) {
            findings.push_back({Severity::Warning, "pci_file_empty", file.path, std::nullopt,
                                "it is empty, so " + lost + " is not known", kRemedy});
        }
        return;
    }
    const bool hangs = file.state == FileState::Special;
    findings.push_back({hangs ? Severity::Error : Severity::Warning,
                        file.state == FileState::Missing ? "pci_file_missing" : "pci_file_unusable",
                        file.path, std::nullopt,
                        whyUnread(file) + (hangs ? ", and the library waits there for ever"
                                                 : ", so " + lost + " is not known"),
                        hangs ? "remove it, then " + std::string(kRemedy) : kRemedy, hangs});
}

}  // namespace

std::vector<PciDump> PciFiles::othersLike(const Controller& controller) const {
    std::vector<PciDump> others;
    std::copy_if(adapters.begin(), adapters.end(), std::back_inserter(others),
                 [&](const PciDump& dump) {
                     return dump.vendorId == controller.pci.vendorId &&
                            dump.deviceId == controller.pci.deviceId;
                 });
    const auto own = std::find_if(others.begin(), others.end(), [&](const PciDump& dump) {
        return dump.address == controller.pci.address().value_or(dump.address);
    });
    if (own != others.end()) {
        others.erase(own);
    }
    return others;
}

PciFiles readPciFiles(const std::string& hostRoot, std::vector<Finding>& findings) {
    PciFiles files;
    files.addresses = readHostFile(hostRoot, kAddressFile);
    files.dumps = readHostFile(hostRoot, kDumpFile);
    files.adapters = readDumps(files.dumps.text);
    reportUnread(files.addresses, "the controller's PCI address", findings);
    reportUnread(files.dumps, "the PCIe link", findings);
    return files;
}

void judgePciFiles(const PciFiles& files, const Controller& controller,
                   std::vector<Finding>& findings) {
    const auto warn = [&findings](const char* code, const FileText& file, const std::string& text) {
        findings.push_back({Severity::Warning, code, file.path, std::nullopt, text, kRemedy});
    };
    const std::optional<std::string> address = controller.pci.address();
    if (files.addresses.state == FileState::Read && files.addresses.size > 0 && !address) {
        warn("pci_address_missing", files.addresses, "the controller's adapter is not in it");
    }
    if (files.dumps.state == FileState::Read && files.dumps.size > 0) {
        const auto own =
            std::find_if(files.adapters.begin(), files.adapters.end(),
                         [&](const PciDump& dump) { return address && dump.address == *address; });
        if (controller.link.maxSpeedCode == 0) {
            warn("pci_dump_missing", files.dumps,
                 "the controller's link is not in it, or not to be found");
        } else if (own != files.adapters.end() && own->byteCount < kDumpBytes) {
            warn("pci_dump_short", files.dumps,
                 format("it has {} bytes of the controller's 256", own->byteCount));
        }
    }
    for (const PciDump& other : files.othersLike(controller)) {
        findings.push_back(
            {Severity::Warning, "controller_not_followed", files.dumps.path, std::nullopt,
             format("'{}' is a controller too; the library follows one only", other.title),
             "nothing tells of its disks, volumes and events: look at them by "
             "another way"});
    }
}

}  // namespace veskctl
