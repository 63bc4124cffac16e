// The rules of INI files that the library's simple reader can read.
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace simtest {

struct IniSection {
    std::string name;
    std::vector<std::pair<std::string, std::string>> rows;
};

struct IniFile {
    std::vector<IniSection> sections;
    std::vector<std::string> broken;  // rules that the text breaks
};

IniFile readIni(const std::string& text);

}  // namespace simtest
