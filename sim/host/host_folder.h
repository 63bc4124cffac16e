// The files that the host brings along, in a private folder that stands for the host's root.
#pragma once

#include "sim/scenario/scenario.h"

#include <filesystem>
#include <string>

namespace vesksim {

// Makes scratch/log and var/log, writes the two PCI text files anew (or removes those that the
// scenario leaves out), and makes the two INI files where they are missing: one that is there keeps
// its mark and its edits. Throws std::invalid_argument for an empty root or "/", which would be the
// machine's own, and std::system_error when a file cannot be written.
void writeHostFiles(const std::string& root, const Scenario& scenario);

// The folder as a path. Throws std::invalid_argument for an empty root or "/".
std::filesystem::path hostFolder(const std::string& root);

// The usual texts.
std::string pciAddressText(const Scenario& scenario);
std::string pciConfigText(const Scenario& scenario);
std::string configIniText();
std::string alertMappingIniText();

}  // namespace vesksim
