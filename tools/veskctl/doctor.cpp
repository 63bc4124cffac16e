#include "veskctl/doctor.h"

#include "veskctl/event_log.h"
#include "veskctl/format.h"
#include "veskctl/printable.h"
#include "veskctl/report.h"
#include "veskctl/session.h"
#include "veskctl/unlisted_events.h"
#include "veskctl/verdict.h"

#include <algorithm>
#include <chrono>

namespace veskctl {

namespace {

constexpr std::chrono::milliseconds kLookTime(500);
constexpr const char* kIndent = "           ";

class Examination {
public:
    Examination(const Snapshot& snapshot, const LoadedLibraries& libraries)
        : m_snapshot(snapshot), m_libraries(libraries) {}

    std::vector<Finding> run() {
        addLibraries();
        addController();
        addFiles();
        return m_findings;
    }

private:
    void add(const std::string& code, const std::string& path, const std::string& text) {
        m_findings.push_back({Severity::Info, code, path, std::nullopt, text});
    }

    void addLibraries() {
        if (!m_libraries.library.empty()) {
            add("library", m_libraries.library, "it can be loaded");
            add("platform_library", m_libraries.platform,
                m_libraries.simulated
                    ? "it is the simulated one: nothing here is about this machine"
                    : "it is the host's");
        }
        for (const Problem& problem : m_snapshot.problems) {
            m_findings.push_back(
                {Severity::Error, problemName(problem.kind), "", std::nullopt, problem.message});
        }
    }

    void addController() {
        if (m_snapshot.reach == Reach::Answering) {
            add("controller", "",
                format("the controller at {} answers",
                       m_snapshot.controller->pci.address().value_or("an unknown address")));
        }
    }

    void addFiles() {
        const HostFiles& files = m_snapshot.hostFiles;
        if (files.config.state == FileState::Read) {
            add("config", files.config.path,
                format("trace log {}, a look at the events each {} seconds",
                       files.settings.traceLog ? "on" : "off", files.settings.pollingSeconds));
        }
        if (files.alerts && files.mark) {
            add("mapping", files.mapping.path,
                format("{} {}, events up to number {} are delivered", files.alerts->rows.size(),
                       files.alerts->rows.size() == 1 ? "row" : "rows", files.mark->value));
        }
        if (files.forgottenAtReboot) {
            add("mark_forgotten_at_reboot", files.mapping.path,
                "it lies on a RAM disk: what was not saved is as at the installation after the "
                "host's next start, the mark falls back, and events come again; collectors tell "
                "them by host, sequence and time_raw");
        }
        for (const FileText* file : {&files.pci.addresses, &files.pci.dumps}) {
            if (file->state == FileState::Read && file->size > 0) {
                add("pci_file", file->path, format("{} bytes", file->size));
            }
        }
        add("trace_log", files.traceLog.folder,
            format("{} {} with {} bytes altogether", files.traceLog.fileCount,
                   files.traceLog.fileCount == 1 ? "file" : "files", files.traceLog.totalBytes));
        m_findings.insert(m_findings.end(), files.findings.begin(), files.findings.end());
    }

    const Snapshot& m_snapshot;
    const LoadedLibraries& m_libraries;
    std::vector<Finding> m_findings;
};

std::string paragraphOf(const Finding& finding) {
    const bool calm = finding.severity == Severity::Info;
    std::string place = finding.path;
    if (finding.line) {
        place += format(" line {}", *finding.line);
    }
    std::string text =
        format("{} {:<7}  ", calm ? ' ' : '!', calm ? "ok" : severityName(finding.severity));
    if (!place.empty()) {
        text += printable(place) + ":\n" + kIndent;
    }
    text += printable(finding.text) + '\n';
    if (!finding.remedy.empty()) {
        text += kIndent + ("to do: " + printable(finding.remedy)) + '\n';
    }
    return text;
}

std::size_t count(const std::vector<Finding>& findings, Severity severity) {
    return static_cast<std::size_t>(
        std::count_if(findings.begin(), findings.end(),
                      [severity](const Finding& finding) { return finding.severity == severity; }));
}

// Has the library report every code, from a private mapping.
void addUnmapped(const CommandContext& context, const Snapshot& snapshot,
                 std::vector<Finding>& findings) {
    if (snapshot.reach != Reach::Answering || !snapshot.hostFiles.alerts) {
        return;
    }
    std::vector<Problem> problems;
    guarded("the event log", problems, [&] {
        EventLog log(context, kLookTime);
        const std::vector<Finding> unmapped =
            findUnlisted(log.readUnlisted(0), snapshot.hostFiles.mapping.path);
        findings.insert(findings.end(), unmapped.begin(), unmapped.end());
    });
    for (const Problem& problem : problems) {
        findings.push_back(
            {Severity::Error, problemName(problem.kind), "", std::nullopt, problem.message});
    }
}

void runDoctor(const CommandContext& context, Report& report) {
    report.fields["findings"] = Json::array();
    report.items = "findings";
    const LoadedLibraries libraries = loadLibraries(context);
    const Snapshot snapshot = takeSnapshot(context);
    report.simulated = libraries.simulated || snapshot.simulated;
    const std::vector<Finding> findings = diagnose(context, snapshot, libraries);
    for (const Finding& finding : findings) {
        report.fields["findings"].push_back(findingToJson(finding));
        report.text += paragraphOf(finding);
    }
    const std::size_t errors = count(findings, Severity::Error);
    const std::size_t warnings = count(findings, Severity::Warning);
    report.text += errors + warnings == 0
                       ? "Nothing is wrong with libraries and files.\n"
                       : format("{} {}, {} {}\n", errors, errors == 1 ? "error" : "errors",
                                warnings, warnings == 1 ? "warning" : "warnings");
    const Level level = judge(snapshot, Thresholds()).level;
    if (level != Level::Ok) {
        report.text +=
            format("The verdict on all is {}: 'veskctl status' says why.\n", levelName(level));
    }
    report.exitCode = static_cast<int>(errors > 0 ? ExitCode::Failed : ExitCode::Ok);
    if (snapshot.reach == Reach::Absent) {
        report.exitCode = static_cast<int>(ExitCode::NoController);
    }
}

}  // namespace

LoadedLibraries loadLibraries(const CommandContext& context) {
    try {
        const LibraryProcess process(librarySetup(context));
        return {process.path(), process.platformPath(), process.simulated()};
    } catch (const std::exception&) {
        return {};
    }
}

std::vector<Finding> examine(const Snapshot& snapshot, const LoadedLibraries& libraries) {
    return Examination(snapshot, libraries).run();
}

std::vector<Finding> diagnose(const CommandContext& context, const Snapshot& snapshot,
                              const LoadedLibraries& libraries) {
    std::vector<Finding> findings = examine(snapshot, libraries);
    addUnmapped(context, snapshot, findings);
    return findings;
}

Command doctorCommand() {
    return {"doctor",
            "Look for faults of libraries, host files and controller",
            [](Options& options) {
                options.addRemark("The exit code is 0 without an error, 1 with one, 3 without a "
                                  "controller.");
                return CommandRunner(runDoctor);
            },
            {},
            true,
            {{"doctor", "what was found, where, and what to do"},
             {"doctor -o csv", "the findings as rows"}}};
}

}  // namespace veskctl
