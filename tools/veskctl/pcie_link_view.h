// A PCIe link as JSON and as lines for people.
#pragma once

#include "veskctl/pcie_link.h"
#include "veskctl/table.h"

#include <nlohmann/json.hpp>

namespace veskctl {

nlohmann::ordered_json pcieLinkToJson(const PcieLink& link);
void addPcieLinkLines(const PcieLink& link, Table& table);

}  // namespace veskctl
