// The rewrite of the mark. Input: the number, 4 bytes, and the text of the file.
#include "fuzz_target.h"
#include "input.h"
#include "plain_ini.h"
#include "private_host.h"

#include "support/ini_files.h"

#include <string>

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const vesktest::PrivateHost host;
    VeskNVMeLibrary_Helper::m_LibPath = vesktest::kFirstIniFolder;
    veskfuzz::Input input(data, size);
    const auto mark = static_cast<INTEGER>(input.number());
    const std::string file = input.rest();
    host.writeMappingIni(file);

    const USHORT_INT result =
        VeskNVMeLibrary_Helper::writeLastProcessedEventSeqNumberToINIFile(mark);
    veskfuzz::require(result == 0, "a file that can be written is no failure");
    veskfuzz::require(host.read(vesktest::kMappingIniPath) == veskfuzz::withPlainMark(file, mark),
                      "the number stands behind the last equals sign, and nothing else changed");
    return 0;
}
