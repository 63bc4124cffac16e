#include "veskctl/library_config.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

struct ConfigCase {
    const char* name;
    const char* text;
    bool traceLog;
    unsigned pollingSeconds;
    const char* code;  // of the one finding; empty: none
    bool stopsLibrary;
};

void PrintTo(const ConfigCase& config, std::ostream* stream) {
    *stream << config.name;
}

class ConfigTest : public testing::TestWithParam<ConfigCase> {};

TEST_P(ConfigTest, IsReadAsTheLibraryReadsIt) {
    std::vector<veskctl::Finding> findings;
    const veskctl::LibraryConfig config =
        veskctl::readLibraryConfig(GetParam().text, "/a/b.ini", findings);
    EXPECT_EQ(config.traceLog, GetParam().traceLog);
    EXPECT_EQ(config.pollingSeconds, GetParam().pollingSeconds);
    ASSERT_EQ(findings.size(), *GetParam().code == '\0' ? 0U : 1U);
    if (!findings.empty()) {
        EXPECT_EQ(findings[0].code, GetParam().code);
        EXPECT_EQ(findings[0].stopsLibrary, GetParam().stopsLibrary);
    }
}

const ConfigCase kConfigs[] = {
    {"Usual", "[Logging]\nDebug=On\n\n[Polling]\npollingIntervalInSeconds=60\n", true, 60, "",
     false},
    {"CarriageReturns", "[Logging]\r\nDebug=on\r\n", true, 50, "", false},
    {"Nothing", "", false, 50, "", false},
    {"Off", "[Logging]\nDebug=Off\n", false, 50, "", false},
    {"OtherWord", "[Logging]\nDebug=ON\n", false, 50, "config_value_unknown", false},
    {"BlanksAroundEquals", "[Logging]\nDebug = On\n", false, 50, "config_value_unknown", false},
    {"LeadingBlank", "[Logging]\n Debug=On\n", false, 50, "config_key_unseen", false},
    {"OtherSection", "[Log]\nDebug=On\n", false, 50, "config_key_unseen", false},
    {"DebugWithoutEquals", "[Logging]\nDebug\n", false, 50, "ini_line_without_equals", true},
    {"IntervalWithoutEquals", "[Polling]\npollingIntervalInSeconds\n", false, 50,
     "ini_line_without_equals", true},
    {"ShortInterval", "[Polling]\npollingIntervalInSeconds=5\n", false, 50, "", false},
    {"IntervalOf17Bits", "[Polling]\npollingIntervalInSeconds=65636\n", false, 100,
     "config_value_unknown", false},
    {"NegativeInterval", "[Polling]\npollingIntervalInSeconds=-1\n", false, 65535,
     "config_value_unknown", false},
    {"IntervalWithUnit", "[Polling]\npollingIntervalInSeconds=60s\n", false, 60,
     "config_value_unknown", false},
    {"IntervalInWords", "[Polling]\npollingIntervalInSeconds=often\n", false, 50,
     "config_value_unknown", false},
};

INSTANTIATE_TEST_SUITE_P(LibraryConfig, ConfigTest, testing::ValuesIn(kConfigs),
                         [](const testing::TestParamInfo<ConfigCase>& test) {
                             return std::string(test.param.name);
                         });

}  // namespace
