#include "transport/pci_address_file.h"

#include <fstream>

namespace {

constexpr const char* kAddressFile = "/opt/orvo/pciconfig/Templspcibdf.txt";

// The first `length` characters behind the first `mark` at or behind `position`, which then stands
// behind that mark. Without such a mark: an empty text, which no conversion takes.
std::string textBehind(const std::string& line, char mark, std::size_t length,
                       std::size_t& position) {
    const std::size_t found = line.find(mark, position);
    if (found == std::string::npos) {
        position = line.size();
        return std::string();
    }
    position = found + 1;
    return line.substr(position, length);
}

UCHAR_ hexByte(const std::string& text) {
    return static_cast<UCHAR_>(std::stoul(text, nullptr, 16));
}

}  // namespace

namespace stg {

bool findAddressLine(const std::string& adapterName, std::string& line) {
    std::ifstream file(kAddressFile);
    if (!file.is_open()) {
        return false;
    }
    while (std::getline(file, line)) {
        if (line.find(adapterName) != std::string::npos) {
            return true;
        }
    }
    line.clear();
    return true;
}

void readAddress(const std::string& line, BDF& address) {
    std::size_t position = 0;
    address.bus = hexByte(textBehind(line, ':', 2, position));
    address.device = hexByte(textBehind(line, ':', 2, position));
    address.function = hexByte(textBehind(line, '.', 1, position));
}

}  // namespace stg
