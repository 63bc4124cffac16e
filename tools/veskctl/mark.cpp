#include "veskctl/mark.h"

#include "veskctl/command.h"
#include "veskctl/format.h"
#include "veskctl/host_files.h"
#include "veskctl/mark_file.h"
#include "veskctl/report.h"

#include <limits>
#include <memory>

namespace veskctl {

namespace {

constexpr unsigned kLargestMark = std::numeric_limits<std::int32_t>::max();

constexpr const char* kOthers =
    "a program that has the library loaded, and delivers events just now, may write its own number "
    "over this one: stop it first, and look with 'veskctl mark show' afterwards";

void putMark(Report& report, const HostFiles& files) {
    report.fields["path"] = files.mapping.path;
    report.fields["mark"] = nullptr;
    report.fields["line"] = nullptr;
    report.fields["sound"] = false;
    if (files.mark) {
        report.fields["mark"] = files.mark->value;
        report.fields["line"] = valueOrNull(files.mark->line);
        report.fields["sound"] = files.mark->sound;
    }
    report.fields["findings"] = Json::array();
}

void demandText(const HostFiles& files) {
    if (files.mapping.state != FileState::Read) {
        const std::string why = whyUnread(files.mapping);
        throw ProblemError({ProblemKind::MarkNotStored,
                            format("{}: {}; without this file no event is delivered: install it "
                                   "from the library's package",
                                   files.mapping.path, why.empty() ? "there is no file" : why)});
    }
}

void runShow(const CommandContext& context, Report& report) {
    const HostFiles files = readHostFiles(context.hostRoot);
    putMark(report, files);
    demandText(files);
    std::vector<Finding> findings;
    const SequenceMark mark = readSequenceMark(files.mapping.text, files.mapping.path, findings);
    report.blocks.addSection("Mark of delivered events");
    report.blocks.addLine("Number", format("{}", mark.value),
                          mark.sound ? Tone::Plain : Tone::Warning);
    report.blocks.addLine("File", files.mapping.path);
    if (mark.line) {
        report.blocks.addLine("Line", format("{}", *mark.line));
    }
    for (const Finding& finding : findings) {
        report.fields["findings"].push_back(findingToJson(finding));
        report.text += "! " + findingSentence(finding) + '\n';
    }
}

void runSet(const CommandContext& context, unsigned number, Report& report) {
    report.fields["path"] = nullptr;
    report.fields["mark"] = nullptr;
    report.fields["former_mark"] = nullptr;
    report.fields["backup_path"] = nullptr;
    const MarkLock lock(placeOfMapping(context.hostRoot, readHostFiles(context.hostRoot)));
    const HostFiles files = readHostFiles(context.hostRoot);
    demandText(files);
    const std::string path = placeOfMapping(context.hostRoot, files);
    const std::string text = withMark(files.mapping.text, files.mapping.path, number);
    const std::string backup = backUp(path, files.mapping.text).substr(context.hostRoot.size());
    replaceText(path, files.mapping.text, text);
    const int former = files.mark ? files.mark->value : 0;
    report.fields["path"] = files.mapping.path;
    report.fields["mark"] = number;
    report.fields["former_mark"] = former;
    report.fields["backup_path"] = backup;
    report.text = format("The mark is {} now, it was {}. The file before is kept as {}.\n", number,
                         former, backup);
    report.notes.emplace_back(kOthers);
}

CommandRunner declareSet(Options& options) {
    const auto number = std::make_shared<unsigned>(0);
    options.addNumber("NUMBER", *number, 0, kLargestMark, " ",
                      "The number of the last event that counts as delivered; 0: none does");
    options.addRemark("The file is backed up beside itself, with .bak at the end of its name.");
    return [number](const CommandContext& context, Report& report) {
        runSet(context, *number, report);
    };
}

}  // namespace

Command markCommand() {
    const Command show = {"show",
                          "Show the mark, and what is wrong with it",
                          [](Options&) { return CommandRunner(runShow); },
                          {},
                          true,
                          {{"mark show", "the mark, its line and its faults"}}};
    const Command set = {"set",      "Set the mark",
                         declareSet, {},
                         false,      {{"mark set 0", "let all events that are left come again"}}};
    return {"mark", "Show or set the mark of delivered events", nullptr, {show, set}};
}

}  // namespace veskctl
