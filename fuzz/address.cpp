// The file of PCI addresses. Input: the adapter's name, kPartEnd, and the text of the file.
#include "fuzz_target.h"
#include "input.h"
#include "private_host.h"

#include "transport/management_calls.h"
#include "transport/nvme_handle.h"

#include <cstdlib>
#include <cstring>
#include <string>

namespace {

using veskfuzz::require;

// The second reader, written plainly from the rules of the format.

std::string lineWith(const std::string& file, const std::string& name) {
    veskfuzz::Input lines(file);
    while (!lines.empty()) {
        std::string line = lines.until('\n');
        if (line.find(name) != std::string::npos) {
            return line;
        }
    }
    return std::string();
}

// False without a digit; the part of the line up to the mark goes.
bool takeByte(std::string& line, char mark, std::size_t digits, UCHAR_& value) {
    const std::size_t found = line.find(mark);
    line = found == std::string::npos ? std::string() : line.substr(found + 1);
    const std::string text = line.substr(0, digits);
    char* end = nullptr;
    const unsigned long number = std::strtoul(text.c_str(), &end, 16);
    if (end == text.c_str()) {
        return false;
    }
    value = static_cast<UCHAR_>(number);
    return true;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const vesktest::PrivateHost host;
    veskfuzz::Input input(data, size);
    const std::string name = input.until(veskfuzz::kPartEnd).substr(0, 31).c_str();
    const std::string file = input.rest();
    host.write(vesktest::kPciAddressPath, file);

    nvme_handle adapter = {};
    std::memcpy(adapter.name, name.data(), name.size());
    BDF address = {0xA5, 0xA5, 0xA5};
    const RESULT result = stg::CVmwareZNVDeviceTalker_Helper().findAndSetBDF(&adapter, address);

    std::string line = lineWith(file, name);
    BDF plain = {0xA5, 0xA5, 0xA5};
    const bool found = takeByte(line, ':', 2, plain.bus) && takeByte(line, ':', 2, plain.device) &&
                       takeByte(line, '.', 1, plain.function);
    require((result == 0) == found, "both readers find an address, or neither");
    require(std::memcmp(&address, &plain, sizeof(address)) == 0, "both read the same address");
    return 0;
}
