#include "veskctl/host_files.h"

#include "veskctl/format.h"
#include "veskctl/report.h"

#include <array>
#include <filesystem>
#include <map>
#include <system_error>

#include <linux/magic.h>
#include <sys/statfs.h>
#include <sys/utsname.h>

namespace veskctl {

namespace {

constexpr const char* kConfigFile = "libVeskNVMeConfig.ini";
constexpr const char* kMappingFile = "libVeskNVMeAlertMapping.ini";
// In the order in which the library looks. The current folder comes last.
constexpr std::array<const char*, 3> kIniFolders = {"/opt/orvo/kelpdesk/etc/kelpdesk-storage/",
                                                    "/etc/cim/orvo/kelpdesk/kelpdesk-storage/", ""};
constexpr std::size_t kMostAlike = 20;

std::string currentFolder() {
    std::error_code error;
    const std::filesystem::path folder = std::filesystem::current_path(error);
    return error ? "." : folder.string();
}

std::string listedFolders() {
    return format("{}, {} and the current folder {}", kIniFolders[0], kIniFolders[1],
                  currentFolder());
}

// The root of an ESXi host is a RAM disk.
bool liesOnRamDisk(const std::string& path) {
    utsname system = {};
    struct statfs volume = {};
    return (uname(&system) == 0 && std::string(system.sysname) == "VMkernel") ||
           (statfs(path.c_str(), &volume) == 0 &&
            (volume.f_type == TMPFS_MAGIC || volume.f_type == RAMFS_MAGIC));
}

// Looks where the library looks.
class IniPair {
public:
    IniPair(const std::string& hostRoot, HostFiles& files) : m_root(hostRoot), m_files(files) {}

    void read() {
        std::size_t place = 0;
        while (place + 1 < kIniFolders.size() && !takePlace(kIniFolders.at(place))) {
            ++place;
        }
        m_files.inCurrentFolder = place + 1 == kIniFolders.size();
        m_files.config = readHostFile(m_root, kIniFolders.at(place) + std::string(kConfigFile));
        m_files.mapping = readHostFile(m_root, kIniFolders.at(place) + std::string(kMappingFile));
        if (m_files.inCurrentFolder) {
            m_files.config.path = currentFolder() + '/' + kConfigFile;
            m_files.mapping.path = currentFolder() + '/' + kMappingFile;
        }
        judge();
    }

private:
    bool takePlace(const std::string& folder) {
        const FileText config = readHostFile(m_root, folder + kConfigFile);
        if (config.state == FileState::Denied || config.state == FileState::Failed) {
            report(Severity::Warning, "config_unusable", config.path,
                   whyUnread(config) + ", so the library looks in the next folder",
                   "mend its rights");
        }
        return config.canBeOpened();
    }

    void judge() {
        const bool configThere = m_files.config.canBeOpened();
        const bool mappingThere = m_files.mapping.canBeOpened();
        if (!m_files.inCurrentFolder) {
            judgeConfig();
            judgeMapping();
        } else if (configThere || mappingThere) {
            report(Severity::Warning, "ini_in_current_folder",
                   configThere ? m_files.config.path : m_files.mapping.path,
                   "the library uses the INI files of the current folder, since no configuration "
                   "lies where it belongs",
                   format("put both INI files into {}", kIniFolders[0]));
            judgeConfig();
            judgeMapping();
        } else if (!mappingElsewhere()) {
            report(Severity::Error, "ini_none_found", "",
                   format("neither INI file was found in {}, so no event is reported",
                          listedFolders()),
                   format("put both INI files into {}", kIniFolders[0]));
        }
    }

    void judgeConfig() {
        if (m_files.config.state == FileState::Read) {
            m_files.settings =
                readLibraryConfig(m_files.config.text, m_files.config.path, m_files.findings);
        } else if (m_files.config.state == FileState::Special) {
            reportEndless(m_files.config);
        } else if (m_files.config.state != FileState::Missing) {
            report(Severity::Warning, "config_unusable", m_files.config.path,
                   whyUnread(m_files.config), "put a text file there");
        }
    }

    void judgeMapping() {
        const FileText& mapping = m_files.mapping;
        if (mapping.state == FileState::Read) {
            m_files.alerts = readAlertMapping(mapping.text, mapping.path, m_files.findings);
            m_files.mark = readSequenceMark(mapping.text, mapping.path, m_files.findings);
            if (!mapping.writable) {
                report(Severity::Error, "mark_not_writable", mapping.path,
                       "there is no right to write the mark of delivered events, so each delivery "
                       "brings the same ones",
                       "run as root, or mend the rights of the file");
            }
        } else if (mapping.state == FileState::Special) {
            reportEndless(mapping);
        } else if (mapping.state == FileState::Missing) {
            if (!mappingElsewhere()) {
                report(Severity::Error, "mapping_missing", mapping.path,
                       "it is missing, so no event is reported",
                       format("put {} beside {}", kMappingFile, m_files.config.path));
            }
        } else {
            report(Severity::Error, "mapping_unusable", mapping.path,
                   whyUnread(mapping) + ", so no event is reported", "put a text file there");
        }
    }

    // A mapping where the library does not look for it.
    bool mappingElsewhere() {
        for (const char* folder : kIniFolders) {
            const FileText other = readHostFile(m_root, folder + std::string(kMappingFile));
            if (other.state != FileState::Read || *folder == '\0') {
                continue;
            }
            const std::string used = m_files.mapping.path;
            report(Severity::Error, "mapping_elsewhere", other.path,
                   format("the library does not use it: it looks for {}, beside the configuration, "
                          "and reports no event",
                          used),
                   m_files.inCurrentFolder ? format("put {} beside it", kConfigFile)
                                           : format("move it to {}", used));
            return true;
        }
        return false;
    }

    void reportEndless(const FileText& file) {
        m_files.findings.push_back({Severity::Error, "ini_unusable", file.path, std::nullopt,
                                    whyUnread(file) + ", and the library waits there for ever",
                                    "put a text file there", true});
    }

    void report(Severity severity, const std::string& code, const std::string& path,
                const std::string& text, const std::string& remedy) {
        m_files.findings.push_back({severity, code, path, std::nullopt, text, remedy});
    }

    const std::string& m_root;
    HostFiles& m_files;
};

// A file that is none of its kind has the same wrong with each line.
void shorten(std::vector<Finding>& findings) {
    std::vector<Finding> kept;
    std::map<std::string, std::size_t> counts;
    for (const Finding& finding : findings) {
        if (++counts[finding.code] <= kMostAlike) {
            kept.push_back(finding);
        }
    }
    if (kept.size() < findings.size()) {
        kept.push_back({Severity::Warning, "more_findings", "", std::nullopt,
                        format("{} more findings of the same kinds are left out",
                               findings.size() - kept.size())});
    }
    findings = std::move(kept);
}

Json fileToJson(const FileText& file) {
    Json json;
    json["path"] = file.path;
    json["readable"] = file.state == FileState::Read;
    json["size_bytes"] = file.state == FileState::Missing ? Json() : Json(file.size);
    json["writable"] = file.writable;
    return json;
}

Json markToJson(const std::optional<SequenceMark>& mark) {
    if (!mark) {
        return {};
    }
    Json json;
    json["value"] = mark->value;
    json["line"] = valueOrNull(mark->line);
    json["sound"] = mark->sound;
    return json;
}

}  // namespace

bool hidesEvents(const Finding& finding) {
    const bool ofIni = finding.code.rfind("mapping_", 0) == 0 || finding.code.rfind("ini_", 0) == 0;
    return finding.severity == Severity::Error && ofIni;
}

HostFiles readHostFiles(const std::string& hostRoot) {
    HostFiles files;
    IniPair(hostRoot, files).read();
    shorten(files.findings);
    // Below a root there is a simulated host, whose files lie anywhere.
    files.forgottenAtReboot = hostRoot.empty() && files.mark && liesOnRamDisk(files.mapping.path);
    files.pci = readPciFiles(hostRoot, files.findings);
    files.traceLog = readTraceLog(hostRoot, files.settings.traceLog, files.findings);
    return files;
}

std::string placeOfMapping(const std::string& hostRoot, const HostFiles& files) {
    return files.inCurrentFolder ? kMappingFile : underRoot(hostRoot, files.mapping.path);
}

void demandUsable(const HostFiles& files) {
    const Finding* const finding = firstThatStopsLibrary(files.findings);
    if (finding != nullptr) {
        throw ProblemError({ProblemKind::HostFileUnusable, findingSentence(*finding)});
    }
}

Json hostFilesToJson(const HostFiles& files) {
    Json json;
    json["config"] = fileToJson(files.config);
    json["config"]["trace_log"] = files.settings.traceLog;
    json["config"]["polling_interval_seconds"] = files.settings.pollingSeconds;
    json["mapping"] = fileToJson(files.mapping);
    json["mapping"]["rows"] = files.alerts ? Json(files.alerts->rows.size()) : Json();
    json["mapping"]["mark"] = markToJson(files.mark);
    json["pci_addresses"] = fileToJson(files.pci.addresses);
    json["pci_dumps"] = fileToJson(files.pci.dumps);
    json["trace_log"] = {{"folder", files.traceLog.folder},
                         {"files", files.traceLog.fileCount},
                         {"size_bytes", files.traceLog.totalBytes}};
    json["findings"] = Json::array();
    for (const Finding& finding : files.findings) {
        json["findings"].push_back(findingToJson(finding));
    }
    return json;
}

}  // namespace veskctl
