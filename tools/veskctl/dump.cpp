#include "veskctl/dump.h"

#include "veskctl/command.h"
#include "veskctl/descriptor.h"
#include "veskctl/dumped_capture.h"
#include "veskctl/file_replacement.h"
#include "veskctl/format.h"
#include "veskctl/moment.h"
#include "veskctl/output.h"
#include "veskctl/report.h"
#include "veskctl/sizes.h"

#include <cerrno>
#include <cstring>
#include <memory>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace veskctl {

namespace {

constexpr const char* kName = "dump";
constexpr off_t kLargestDump = 256 << 20U;

[[noreturn]] void refuse(const std::string& path, const std::string& reason) {
    throw UsageError(format("{} {}; name a file that 'veskctl dump' wrote", path, reason));
}

// Does not wait for a pipe, and reads no endless device.
std::string textOf(const std::string& path) {
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status = {};
    if (file.number() < 0 || fstat(file.number(), &status) != 0) {
        refuse(path, format("cannot be read ({})", std::strerror(errno)));
    }
    if (!S_ISREG(status.st_mode) || status.st_size > kLargestDump) {
        refuse(path, S_ISREG(status.st_mode) ? "is too large" : "is no file");
    }
    std::string text(static_cast<std::size_t>(status.st_size), '\0');
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t count = read(file.number(), &text[done], text.size() - done);
        if (count == 0) {
            break;
        }
        if (count < 0 && errno != EINTR) {
            refuse(path, format("cannot be read ({})", std::strerror(errno)));
        }
        done += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    text.resize(done);
    return text;
}

void runDump(const CommandContext& context, const std::string& path, Report& report) {
    report.fields["path"] = path;
    report.fields["size_bytes"] = nullptr;
    Report content;
    content.fields = momentToJson(takeMoment(context, content));
    content.fields["capture"] = captureForDump(content);
    report.problems = content.problems;
    report.simulated = content.simulated;
    content.host = context.host;
    const std::string document = renderJson(kName, content, context.simulated || content.simulated);
    // Nobody else may read a capture.
    replaceFile(path, document, content.fields["capture"].is_null() ? kForAll : kForOwnerOnly);
    report.fields["size_bytes"] = document.size();
    report.text = format("Written: {} ({}).\n", path, sizeText(document.size()));
}

}  // namespace

Json readDump(const std::string& path) {
    Json document = Json::parse(textOf(path), nullptr, false);
    if (!document.is_object() || document.value("command", Json()) != Json(kName)) {
        refuse(path, "is no dump");
    }
    if (document.value("schema_version", Json()) != Json(kSchemaVersion)) {
        refuse(path, "was written by another version");
    }
    return document;
}

Command dumpCommand() {
    return {kName,
            "Write everything of this moment into one JSON file",
            [](Options& options) {
                const auto path = std::make_shared<std::string>();
                options.addPath(*path, "FILE", "The file to write; one that is there is replaced",
                                true);
                return CommandRunner([path](const CommandContext& context, Report& report) {
                    runDump(context, *path, report);
                });
            },
            {},
            false,
            {{"dump before.json", "for a support case, or to compare with later"}}};
}

}  // namespace veskctl
