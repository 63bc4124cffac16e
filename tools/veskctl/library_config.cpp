#include "veskctl/library_config.h"

#include "veskctl/format.h"
#include "veskctl/ini_text.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <limits>

namespace veskctl {

namespace {

constexpr unsigned kShortestInterval = 50;

class ConfigReader {
public:
    ConfigReader(const std::string& text, const std::string& path, std::vector<Finding>& findings)
        : m_ini(text), m_path(path), m_findings(findings) {}

    LibraryConfig read() {
        readDebug();
        readInterval();
        return m_config;
    }

private:
    // Empty: the library takes its default.
    std::optional<IniHit> valueOf(const std::string& section, const std::string& key) {
        std::optional<IniHit> hit = m_ini.lookUp(section, key);
        if (!hit) {
            reportUnseen(section, key);
        } else if (!hit->value) {
            m_findings.push_back(
                {Severity::Error, "ini_line_without_equals", m_path, hit->line,
                 format("'{}' has no '=' and no value, which ends the library at its start", key),
                 format("write {}=VALUE, or put ; in front", key), true});
            hit.reset();
        }
        return hit;
    }

    // A key that stands there and is not where the library looks for it.
    void reportUnseen(const std::string& section, const std::string& key) {
        for (const IniLine& line : m_ini.lines()) {
            const std::size_t begin = line.text.find_first_not_of(" \t");
            if (begin != std::string::npos && line.text.compare(begin, key.size(), key) == 0) {
                report(
                    "config_key_unseen", line.number,
                    format("the library does not see '{}' here, and takes its default", key),
                    format("a line [{}] stands above it, and {}=VALUE begins in the first column",
                           section, key));
                return;
            }
        }
    }

    void readDebug() {
        const std::optional<IniHit> hit = valueOf("Logging", "Debug");
        if (!hit) {
            return;
        }
        const std::string& value = *hit->value;
        m_config.traceLog = value == "On" || value == "on";
        if (!m_config.traceLog && value != "Off" && value != "off") {
            report("config_value_unknown", hit->line,
                   format("Debug is '{}', which does not switch the trace log on",
                          value.substr(0, 40)),
                   "write Debug=On or Debug=Off, without blanks");
        }
    }

    void readInterval() {
        const std::optional<IniHit> hit = valueOf("Polling", "pollingIntervalInSeconds");
        if (!hit) {
            return;
        }
        char* end = nullptr;
        errno = 0;
        const long seconds = std::strtol(hit->value->c_str(), &end, 10);
        const bool isNumber = end != hit->value->c_str() && errno == 0 &&
                              seconds >= std::numeric_limits<std::int32_t>::min() &&
                              seconds <= std::numeric_limits<std::int32_t>::max();
        if (isNumber) {
            // The library cuts it to 16 bits.
            m_config.pollingSeconds =
                std::max(kShortestInterval, static_cast<unsigned>(seconds) & 0xFFFFU);
        }
        if (!isNumber || *end != '\0' || seconds < 0 || seconds > 0xFFFF) {
            report("config_value_unknown", hit->line,
                   format("pollingIntervalInSeconds is '{}', which the library takes for {}",
                          hit->value->substr(0, 40), m_config.pollingSeconds),
                   "write a number from 50 to 65535");
        }
    }

    void report(const std::string& code, unsigned line, const std::string& text,
                const std::string& remedy) {
        m_findings.push_back({Severity::Warning, code, m_path, line, text, remedy});
    }

    const IniText m_ini;
    const std::string& m_path;
    std::vector<Finding>& m_findings;
    LibraryConfig m_config;
};

}  // namespace

LibraryConfig readLibraryConfig(const std::string& text, const std::string& path,
                                std::vector<Finding>& findings) {
    return ConfigReader(text, path, findings).read();
}

}  // namespace veskctl
