#include "veskctl/check.h"

#include "veskctl/format.h"
#include "veskctl/printable.h"
#include "veskctl/report.h"
#include "veskctl/spelling.h"

#include <algorithm>
#include <memory>
#include <sstream>

namespace veskctl {

namespace {

constexpr unsigned kTimeoutSeconds = 30;  // monitoring systems wait for some 60

// A bar would begin the performance data, and there is one line only.
std::string inOneLine(std::string text) {
    std::replace(text.begin(), text.end(), '|', '/');
    std::replace(text.begin(), text.end(), '\n', ' ');
    return printable(text);
}

std::string summary(const Snapshot& snapshot) {
    return format("{} {}, {} {}, firmware {}", snapshot.disksPresent(),
                  snapshot.disksPresent() == 1 ? "disk" : "disks", snapshot.volumesPresent(),
                  snapshot.volumesPresent() == 1 ? "volume" : "volumes",
                  snapshot.controller->firmwareVersionText());
}

// Label, value, warning and critical range, least and greatest value; "10:" is the range of those
// that are not below 10.
std::string performanceData(const Snapshot& snapshot, const Thresholds& thresholds) {
    std::string text =
        format("disks={};;;0 volumes={};;;0", snapshot.disksPresent(), snapshot.volumesPresent());
    for (const Health& health : snapshot.health) {
        const std::optional<Wear> wear = health.wear();
        if (wear) {
            text += format(" disk_{}_used={}%;{};{};0 disk_{}_spare={}%;{}:;{}:;0;100",
                           health.disk.slot, wear->percentageUsed, thresholds.usedWarning - 1,
                           thresholds.usedCritical - 1, health.disk.slot, wear->availableSpare,
                           wear->availableSpareThreshold + thresholds.spareMargin + 1,
                           wear->availableSpareThreshold);
        }
    }
    return text;
}

}  // namespace

int checkExitCode(Level level) {
    switch (level) {
    case Level::Ok:
        return 0;
    case Level::Warning:
        return 1;
    case Level::Critical:
        return 2;
    case Level::Unknown:
        break;
    }
    return 3;
}

std::string checkLine(const Snapshot& snapshot, const Verdict& verdict,
                      const Thresholds& thresholds) {
    std::string text;
    for (const Reason& reason : verdict.reasons) {
        text += format("{}{}: {}", text.empty() ? "" : "; ", reason.subject, reason.text);
    }
    const bool answering = snapshot.reach == Reach::Answering;
    if (text.empty()) {
        text = answering ? summary(snapshot) : "the controller could not be looked at";
    }
    std::string line = format("VESK {}{} - {}", upperCase(levelName(verdict.level)),
                              snapshot.simulated ? " (SIMULATED HOST)" : "", inOneLine(text));
    if (answering) {
        line += " | " + performanceData(snapshot, thresholds);
    }
    return line;
}

namespace {

std::string knownCode(const std::string& code) {
    const std::vector<std::string> known = reasonCodes();
    if (std::find(known.begin(), known.end(), code) == known.end()) {
        const std::optional<std::string> meant = nearest(code, known);
        throw UsageError(
            format("--ignore: '{}' is no code of a reason; {}", code,
                   meant ? "did you mean '" + *meant + "'?" : "'check --json' shows the codes"));
    }
    return code;
}

}  // namespace

void ThresholdOptions::declare(Options& options) {
    options.addNumber("--used-warning", thresholds.usedWarning, 1, 255, "PERCENT [90]",
                      "Used share of the rated life from which on to warn");
    options.addNumber("--used-critical", thresholds.usedCritical, 1, 255, "PERCENT [100]",
                      "The same for critical");
    options.addNumber("--spare-margin", thresholds.spareMargin, 0, 100, "POINTS [5]",
                      "Warn of a spare so near to the disk's own threshold");
    options.addText("--ignore", ignored, "CODE,...",
                    "Reasons that do not count, as link_below_maximum");
}

Thresholds ThresholdOptions::result() const {
    if (thresholds.usedWarning > thresholds.usedCritical) {
        throw UsageError(format("--used-warning {} is above --used-critical {}",
                                thresholds.usedWarning, thresholds.usedCritical));
    }
    Thresholds wanted = thresholds;
    if (!ignored.empty()) {
        std::istringstream codes(ignored + ',');  // a comma at the end is an empty code
        std::string code;
        while (std::getline(codes, code, ',')) {
            wanted.ignored.push_back(knownCode(code));
        }
    }
    return wanted;
}

namespace {

void runCheck(const CommandContext& context, const ThresholdOptions& options, Report& report) {
    const Thresholds thresholds = options.result();
    const Snapshot snapshot = takeSnapshot(context, kTimeoutSeconds);
    const Verdict verdict = judge(snapshot, thresholds);
    report.simulated = snapshot.simulated;
    report.fields["verdict"] = verdictToJson(verdict);
    report.fields["thresholds"] = {{"used_warning", thresholds.usedWarning},
                                   {"used_critical", thresholds.usedCritical},
                                   {"spare_margin", thresholds.spareMargin},
                                   {"ignored", thresholds.ignored}};
    report.fields["line"] = checkLine(snapshot, verdict, thresholds);
    report.text = report.fields["line"].get<std::string>() + '\n';
    // What went wrong in reading stands among the reasons, and must not change the exit code.
    report.exitCode = checkExitCode(verdict.level);
    report.forPrograms = true;
}

}  // namespace

Command checkCommand() {
    return {kCheckName,
            "Tell a monitoring system the verdict, in one line",
            [](Options& options) {
                const auto wanted = std::make_shared<ThresholdOptions>();
                wanted->declare(options);
                options.addRemark(
                    "The exit code is 0 for OK, 1 for WARNING, 2 for CRITICAL, 3 for UNKNOWN: the\n"
                    "controller does not answer, is absent, or a part of it could not be read.");
                return CommandRunner([wanted](const CommandContext& context, Report& report) {
                    runCheck(context, *wanted, report);
                });
            },
            {},
            true,
            {{"check", "one line with performance data"},
             {"check --used-warning 80 --used-critical 90", "warn of wear earlier"},
             {"check --ignore link_below_maximum", "a slot with fewer lanes is no fault"}}};
}

}  // namespace veskctl
