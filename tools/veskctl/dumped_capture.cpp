#include "veskctl/dumped_capture.h"

#include "veskctl/base64.h"
#include "veskctl/capture.h"
#include "veskctl/dump.h"
#include "veskctl/file_replacement.h"
#include "veskctl/format.h"
#include "veskctl/report.h"
#include "veskctl/sizes.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <memory>
#include <optional>

namespace veskctl {

namespace {

// A document is read as a whole.
constexpr std::uint64_t kLargestCapture = 64U << 20U;

void leaveOut(Report& report, const std::string& path, const std::string& reason) {
    report.problems.push_back(
        {ProblemKind::CaptureFailed,
         format(
             "the capture {} is not in the document, since it {}; hand it on beside the document",
             path, reason)});
}

// As `capture show` has it, the command line is not to blame for what a file holds.
Json dumpIn(const std::string& path) {
    try {
        return readDump(path);
    } catch (const UsageError& error) {
        throw ProblemError({ProblemKind::CaptureDamaged, error.what()});
    }
}

void runExtract(const std::string& from, const std::string& to, Report& report) {
    report.fields["path"] = to;
    report.fields["size_bytes"] = nullptr;
    const Json document = dumpIn(from);
    const Json capture = document.value("capture", Json());
    if (!capture.is_object()) {
        throw ProblemError(
            {ProblemKind::CaptureDamaged,
             format("there is no capture in {}: take one with 'veskctl --capture FILE dump FILE'",
                    from)});
    }
    const Json text = capture.value("base64", Json());
    const std::optional<std::string> bytes =
        text.is_string() ? fromBase64(text.get<std::string>()) : std::nullopt;
    if (!bytes || capture.value("size_bytes", Json()) != Json(bytes->size())) {
        throw ProblemError({ProblemKind::CaptureDamaged,
                            format("the capture in {} is damaged; take that file anew from where "
                                   "it was written",
                                   from)});
    }
    replaceFile(to, *bytes, kForOwnerOnly);
    report.fields["size_bytes"] = bytes->size();
    report.text = format("Written: {} ({}).\n", to, sizeText(bytes->size()));
}

CommandRunner declareExtract(Options& options) {
    const auto from = std::make_shared<std::string>();
    const auto to = std::make_shared<std::string>();
    options.addPath(*from, "DUMP", "A file that 'veskctl --capture FILE dump' wrote", true);
    options.addPath(*to, "FILE", "The file to write; one that is there is replaced", true);
    return [from, to](const CommandContext&, Report& report) {
        runExtract(*from, *to, report);
    };
}

}  // namespace

Json captureForDump(Report& report) {
    const std::string path = captureFile();
    if (path.empty()) {
        return nullptr;
    }
    finishCapture(report);
    std::ifstream stream(path, std::ios::binary | std::ios::ate);
    const std::streamoff size = stream.tellg();
    std::string bytes;
    if (size >= 0 && static_cast<std::uint64_t>(size) > kLargestCapture) {
        leaveOut(report, path, format("is larger than {}", sizeText(kLargestCapture)));
        return nullptr;
    }
    if (size >= 0) {
        bytes.resize(static_cast<std::size_t>(size));
        stream.seekg(0);
        stream.read(bytes.data(), size);
    }
    if (!stream) {
        leaveOut(report, path, format("cannot be read ({})", std::strerror(errno)));
        return nullptr;
    }
    return {{"path", path}, {"size_bytes", bytes.size()}, {"base64", toBase64(bytes)}};
}

Command extractCommand() {
    return {"extract",
            "Take the capture out of a dump",
            declareExtract,
            {},
            false,
            {{"capture extract dump.json host.cap", "to show it, or to replay it"}},
            true};
}

}  // namespace veskctl
