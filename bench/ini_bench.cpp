// One lookup in the mapping file, opened and scanned anew each time: the last key of its section.
#include "bench.h"
#include "ini_floor.h"

#include "private_host.h"
#include "support/ini_files.h"

#include <cstdlib>
#include <fstream>
#include <ini.h>
#include <string>

namespace {

constexpr const char* kSection = "PhysicalDevice";

// What a straightforward reader does.
long lookupByGetline(const std::string& path, const std::string& header, const std::string& key) {
    std::ifstream file(path);
    std::string line;
    while (std::getline(file, line) && line != header) {
    }
    while (std::getline(file, line)) {
        if (line.compare(0, key.size(), key) == 0) {
            return std::stol(line.substr(key.size() + 1));
        }
    }
    return -1;
}

struct InihSearch {
    const char* key;
    long value;
};

int onRow(void* user, const char* section, const char* name, const char* value) {
    auto* const search = static_cast<InihSearch*>(user);
    if (std::strcmp(section, kSection) == 0 && std::strcmp(name, search->key) == 0) {
        search->value = std::strtol(value, nullptr, 10);
    }
    return 1;
}

void addRow(const vesktest::PrivateHost& host, int rows) {
    const std::string folder = "/opt/orvo/rows" + std::to_string(rows) + "/";
    const std::string name = folder + vesktest::kMappingIniName;
    host.makeFolder(folder);
    host.write(name, bench::mappingText(rows));
    const std::string path = host.path(name);
    const std::string key = std::to_string(rows);
    const long expected = 1000 + rows % 60000;
    const std::string row = "mapping lookup, " + key + " rows";
    const auto check = [expected](long value) {
        if (value != expected) {
            std::abort();
        }
    };

    bench::add(row, "library", [folder = host.path(folder), rows, check](benchmark::State& state) {
        VeskNVMeLibrary_Helper::m_LibPath = folder;
        for (auto pass : state) {
            static_cast<void>(pass);
            check(VeskNVMeLibrary_Helper::readEventCodeFromINIFile(kSection,
                                                                   static_cast<USHORT_INT>(rows)));
        }
    });
    bench::addLoop(row, "floor", [path, key, check] {
        check(bench::floorLookup(path.c_str(), "[PhysicalDevice]", key));
    });
    bench::addLoop(row, "getline",
                   [path, key, check] { check(lookupByGetline(path, "[PhysicalDevice]", key)); });
    bench::addLoop(row, "inih", [path, key, check] {
        InihSearch search = {key.c_str(), -1};
        ini_parse(path.c_str(), onRow, &search);
        check(search.value);
    });
}

}  // namespace

void bench::addRows() {
    static const vesktest::PrivateHost s_host;
    for (const int rows : {10, 400, 4000, 40000}) {
        addRow(s_host, rows);
    }
}
