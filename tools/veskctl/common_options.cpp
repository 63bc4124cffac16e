#include "veskctl/common_options.h"

#include "veskctl/format.h"
#include "veskctl/library.h"

#include <utility>

namespace veskctl {

namespace {

constexpr const char* kTable = "table";
constexpr const char* kJson = "json";
constexpr const char* kNdjson = "ndjson";
constexpr const char* kCsv = "csv";

constexpr unsigned kMostSeconds = 24 * 3600;

OutputFormat formatOf(const std::string& name) {
    if (name == kJson) {
        return OutputFormat::JsonDocument;
    }
    if (name == kNdjson) {
        return OutputFormat::JsonLines;
    }
    return name == kCsv ? OutputFormat::Csv : OutputFormat::Table;
}

}  // namespace

CommonOptions::CommonOptions() : m_library(kDefaultLibrary), m_colour("auto") {}

void CommonOptions::declare(Options& options) {
    options.addChoice("-o,--output", m_format, {kTable, kJson, kNdjson, kCsv}, "FORMAT [table]",
                      "table, json (one document), ndjson (a line for each item) or csv");
    options.addFlag("--json", m_json, "The same as -o json");
    options.addFlag("--ndjson", m_ndjson, "The same as -o ndjson");
    options.addFlag("--no-header", m_noHeader, "No titles above columns");
    options.addChoice("--color", m_colour, {"auto", "always", "never"}, "WHEN [auto]",
                      "auto (on a terminal), always or never");
    options.addFlag("-q,--quiet", m_quiet, "No notes, only errors");
    options.addOptionalNumber("--watch", m_watchSeconds, 2, 1, kMostSeconds, "[SECONDS]",
                              "Look again and again, every 2 seconds");
    options.addNumber("--timeout", m_timeoutSeconds, 1, kMostSeconds, "SECONDS [60]",
                      "How long the library may take for one answer");
    options.addText("--library", m_library, format("PATH [{}]", kDefaultLibrary),
                    "The library file, or a name for the loader to look for");
    options.addText("--host", m_host, "NAME",
                    "What documents, events and metrics call this host (default: its host name)");
    addCaptureOptions(options, m_capture);
}

CommandContext CommonOptions::contextFor(const Screen& screen) const {
    std::string wanted = m_format;
    for (const auto& [given, name] : {std::pair(m_json, kJson), std::pair(m_ndjson, kNdjson)}) {
        if (given && !wanted.empty() && wanted != name) {
            throw UsageError(
                format("{} and {} are two formats: ask for one of them", wanted, name));
        }
        wanted = given ? name : wanted;
    }
    CommandContext context;
    context.libraryName = m_library;
    context.host = m_host;
    context.format = formatOf(wanted);
    context.terminal = screen.terminal;
    context.colour = m_colour == "always" || (m_colour == "auto" && screen.takesColour);
    context.width = screen.width;
    context.header = !m_noHeader;
    context.quiet = m_quiet;
    if (m_timeoutSeconds != 0) {
        context.timeoutSeconds = m_timeoutSeconds;
    }
    return context;
}

bool asksForJson(int argc, const char* const* argv) {
    for (int index = 1; index < argc; ++index) {
        const std::string argument = argv[index];
        const std::string next = index + 1 < argc ? argv[index + 1] : "";
        const bool separate = argument == "-o" || argument == "--output";
        if (argument == "--json" || (separate && next == kJson) || argument == "-ojson" ||
            argument == "-o=json" || argument == "--output=json") {
            return true;
        }
    }
    return false;
}

}  // namespace veskctl
