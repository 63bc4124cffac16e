#include "veskctl/output.h"

#include "veskctl/printable.h"

#include <algorithm>
#include <utility>

namespace veskctl {

namespace {

// Paths and texts of devices may hold bytes that are no UTF-8: replaced, or there would be no
// document.
std::string dumped(const Json& json, int indent) {
    return escaped(json.dump(indent, ' ', false, Json::error_handler_t::replace));
}

Json documentOf(const std::string& command, const Report& report, bool simulated) {
    Json document;
    document["schema_version"] = kSchemaVersion;
    document["command"] = command.empty() ? Json() : Json(command);
    document["simulated"] = simulated;
    document["host"] = report.host.empty() ? Json() : Json(report.host);
    document.update(report.fields);
    document["errors"] = Json::array();
    for (const Problem& problem : report.problems) {
        document["errors"].push_back(problemToJson(problem));
    }
    return document;
}

// Nothing if the command was not understood: its message would pass for an item.
Json itemsOf(const std::string& command, const Report& report, bool simulated) {
    if (command.empty()) {
        return Json::array();
    }
    if (report.items.empty()) {
        return Json::array({documentOf(command, report, simulated)});
    }
    return report.fields.contains(report.items) ? report.fields[report.items] : Json::array();
}

using Cells = std::vector<std::pair<std::string, std::string>>;  // title and value

void flatten(const Json& json, const std::string& title, Cells& cells) {
    if (json.is_object()) {
        for (const auto& [name, value] : json.items()) {
            flatten(value, title.empty() ? name : title + '.' + name, cells);
        }
    } else if (json.is_string()) {
        cells.emplace_back(title, json.get<std::string>());
    } else {
        cells.emplace_back(title, json.is_null() ? "" : dumped(json, -1));
    }
}

std::string csvCell(const std::string& value) {
    std::string text;
    for (const char character : escaped(value)) {
        if (character == '\n') {
            text += "\\u000a";
        } else if (character == '"') {
            text += "\"\"";
        } else {
            text += character;
        }
    }
    return text.find_first_of(",\"") == std::string::npos ? text : '"' + text + '"';
}

std::string csvLine(const std::vector<std::string>& values) {
    std::string line;
    for (const std::string& value : values) {
        line += (&value == &values.front() ? "" : ",") + csvCell(value);
    }
    return line + '\n';
}

std::string fitted(const std::string& text, const CommandContext& context) {
    std::string result;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        const std::string line = text.substr(at, end - at);
        const std::size_t indent = line.find_first_not_of(' ');
        result += wrapped(line, context.width, (indent == std::string::npos ? 0 : indent) + 2);
        result += end < text.size() ? "\n" : "";
        at = end + 1;
    }
    return result;
}

std::string forPeople(const Report& report, const CommandContext& context) {
    const GridStyle style = {context.width, context.colour, context.header};
    return fitted(report.lead, context) + report.blocks.render(context.colour, context.width) +
           report.grid.render(style) + fitted(report.text, context);
}

std::string standardOutput(const std::string& command, const Report& report,
                           const CommandContext& context, bool simulated) {
    std::string text;
    switch (context.format) {
    case OutputFormat::JsonDocument:
        return renderJson(command, report, simulated);
    case OutputFormat::JsonLines:
        for (const Json& item : itemsOf(command, report, simulated)) {
            text += renderJsonLine(item);
        }
        return text;
    case OutputFormat::Csv:
        return renderCsv(itemsOf(command, report, simulated), context.header);
    case OutputFormat::Table:
        break;
    }
    return report.forPrograms ? report.text : forPeople(report, context);
}

}  // namespace

Output renderOutput(const std::string& command, const Report& report,
                    const CommandContext& context) {
    const bool simulated = context.simulated || report.simulated;
    Output output;
    if (!report.streamed) {
        output.standardOutput = standardOutput(command, report, context, simulated);
    }
    if (simulated && !report.streamed) {
        const bool inFront = context.format == OutputFormat::Table && !report.forPrograms &&
                             !output.standardOutput.empty();
        std::string& place = inFront ? output.standardOutput : output.standardError;
        place.insert(0, kSimulatedHost);
    }
    output.standardError += renderProblems(report.problems);
    if (!context.quiet && context.format != OutputFormat::JsonDocument) {
        output.standardError += renderNotes(report.notes);
    }
    return output;
}

std::string renderJson(const std::string& command, const Report& report, bool simulated) {
    return dumped(documentOf(command, report, simulated), 2) + '\n';
}

std::string renderJsonLine(const Json& json) {
    return dumped(json, -1) + '\n';
}

std::string renderCsv(const Json& items, bool header) {
    std::vector<std::string> titles;
    std::vector<Cells> rows;
    for (const Json& item : items) {
        Cells cells;
        flatten(item, "", cells);
        for (const auto& [title, value] : cells) {
            if (std::find(titles.begin(), titles.end(), title) == titles.end()) {
                titles.push_back(title);
            }
        }
        rows.push_back(std::move(cells));
    }
    std::string text = header && !titles.empty() ? csvLine(titles) : "";
    for (const Cells& cells : rows) {
        std::vector<std::string> values;
        for (const std::string& title : titles) {
            const auto cell =
                std::find_if(cells.begin(), cells.end(),
                             [&title](const auto& candidate) { return candidate.first == title; });
            values.push_back(cell == cells.end() ? "" : cell->second);
        }
        text += csvLine(values);
    }
    return text;
}

std::string renderProblems(const std::vector<Problem>& problems) {
    std::string text;
    for (const Problem& problem : problems) {
        text += "veskctl: " + printable(problem.message) + '\n';
    }
    return text;
}

std::string renderNotes(const std::vector<std::string>& notes) {
    std::string text;
    for (const std::string& note : notes) {
        text += "veskctl: note: " + printable(note) + '\n';
    }
    return text;
}

}  // namespace veskctl
