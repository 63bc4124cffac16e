// Reading of the INI files. Input: section, key, and the text of the file, with kPartEnd between.
#include "fuzz_target.h"
#include "input.h"
#include "plain_ini.h"
#include "private_host.h"

#include "support/ini_files.h"

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

namespace {

using veskfuzz::KeyAlone;
using veskfuzz::plainNumber;
using veskfuzz::plainValue;
using veskfuzz::require;

// A number that the library reads from the file, and the plain one, which may throw KeyAlone.
template <typename Number, typename Read, typename ReadPlainly>
void compare(const char* promise, Read read, ReadPlainly readPlainly) {
    std::optional<Number> number;
    std::optional<Number> plainNumber;
    try {
        number = read();
    } catch (const std::out_of_range&) {
        number = std::nullopt;
    }
    try {
        plainNumber = static_cast<Number>(readPlainly());
    } catch (const KeyAlone&) {
        plainNumber = std::nullopt;
    }
    require(number == plainNumber, promise);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const vesktest::PrivateHost host;
    VeskNVMeLibrary_Helper::m_LibPath = vesktest::kFirstIniFolder;
    veskfuzz::Input input(data, size);
    const std::string section = input.until(veskfuzz::kPartEnd);
    const std::string key = input.until(veskfuzz::kPartEnd);
    const std::string file = input.rest();
    host.writeMappingIni(file);
    host.writeConfigIni(file);

    compare<std::string>(
        "a value is read, or the default",
        [&] {
            return VeskNVMeLibrary_Helper::readPropertyFromFile(vesktest::kConfigIniPath, section,
                                                                key, "default");
        },
        [&] { return plainValue(file, section, key).value_or("default"); });
    compare<USHORT_INT>(
        "a code is mapped",
        [] { return VeskNVMeLibrary_Helper::readEventCodeFromINIFile("PhysicalDevice", 1); },
        [&] { return plainNumber(plainValue(file, "PhysicalDevice", "1").value_or("65535"), 0); });
    compare<INTEGER>(
        "the mark is read", [] { return VeskNVMeLibrary_Helper::readEventSeqNumberFromINIFile(); },
        [&] {
            return plainNumber(
                plainValue(file, "EventSequenceNumber", "SequenceNumber").value_or("0"), 0);
        });
    compare<INTEGER>(
        "the polling interval is read",
        [] { return VeskNVMeLibrary_Helper::readPollingIntervalFromINIFile(); },
        [&] {
            return plainNumber(
                plainValue(file, "Polling", "pollingIntervalInSeconds").value_or("50"), 50);
        });
    return 0;
}
