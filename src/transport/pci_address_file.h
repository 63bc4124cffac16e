// The host's text file of PCI addresses: a line for each adapter, with its name and its address.
#pragma once

#include "VeskNvme.h"

#include <string>

namespace stg {

// Whether the file can be opened. `line` is then the first one that holds the name, or empty.
bool findAddressLine(const std::string& adapterName, std::string& line);

// Bus, device and function out of a line, each stored as soon as it is converted. Throws
// std::invalid_argument at the first that is not there or has no digit.
void readAddress(const std::string& line, BDF& address);

}  // namespace stg
