// The two PCI text files of the host, out of which the library reads the controller's address and
// its link.
#pragma once

#include "veskctl/file_text.h"
#include "veskctl/finding.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace veskctl {

struct Controller;

// One adapter of the dump file.
struct PciDump {
    std::string title;    // its line, "0000:3b:00.0 vmhba2"
    std::string address;  // without the domain, "3b:00.0"; empty: the title has none
    std::uint16_t vendorId = 0;
    std::uint16_t deviceId = 0;
    std::size_t byteCount = 0;  // 256 of a whole one
};

struct PciFiles {
    FileText addresses;
    FileText dumps;
    std::vector<PciDump> adapters;

    // Those of the same kind as this one, without it: the library follows one controller only.
    std::vector<PciDump> othersLike(const Controller& controller) const;
};

PciFiles readPciFiles(const std::string& hostRoot, std::vector<Finding>& findings);

// What only shows beside what the library made of the files.
void judgePciFiles(const PciFiles& files, const Controller& controller,
                   std::vector<Finding>& findings);

}  // namespace veskctl
