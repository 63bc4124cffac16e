#include "veskctl/capture.h"

#include "capture/capture_reader.h"
#include "capture/command_name.h"
#include "transport/management_tables.h"
#include "veskctl/command.h"
#include "veskctl/dumped_capture.h"
#include "veskctl/format.h"
#include "veskctl/library.h"
#include "veskctl/printable.h"
#include "veskctl/record.h"
#include "veskctl/report.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <memory>
#include <vector>

#include <dlfcn.h>
#include <sys/auxv.h>
#include <unistd.h>

namespace veskctl {

namespace fs = std::filesystem;
using veskcap::Piece;
using veskcap::Record;

namespace {

// ---- Taking one.

constexpr const char* kCaptureLibrary = "libvesk-capture.so";
constexpr const char* kFileVariable = "VESK_CAPTURE";
constexpr const char* kKeyVariable = "VESK_CAPTURE_MASK";
constexpr const char* kStartedVariable = "VESK_CAPTURE_STARTED";

// A function of the capture library: null if that is not loaded.
using ProblemFunction = const char* (*)();
ProblemFunction captureFunction(const char* name) {
    return reinterpret_cast<ProblemFunction>(dlsym(RTLD_DEFAULT, name));
}

// As the kernel was told; /proc may be missing.
fs::path programPath() {
    std::error_code error;
    const auto* const told = reinterpret_cast<const char*>(getauxval(AT_EXECFN));
    fs::path program = told != nullptr ? fs::canonical(told, error) : fs::path();
    if (program.empty()) {
        program = fs::read_symlink("/proc/self/exe", error);
    }
    return program;
}

std::string findCaptureLibrary(const fs::path& program, const std::string& libraryName) {
    std::error_code error;
    const fs::path beside = program.parent_path().parent_path() / "lib" / kCaptureLibrary;
    if (!program.empty() && fs::exists(beside, error)) {
        return beside.string();
    }
    const fs::path library = Library(libraryName).path();
    const fs::path second = fs::absolute(library).parent_path() / kCaptureLibrary;
    if (fs::exists(second, error)) {
        return second.string();
    }
    throw ProblemError({ProblemKind::LibraryNotFound,
                        format("{} is neither {} nor {}; it belongs to the same package as veskctl",
                               kCaptureLibrary, beside.string(), second.string())});
}

std::string randomKey() {
    std::ifstream random("/dev/urandom", std::ios::binary);
    std::array<unsigned char, 16> bytes = {};
    if (!random.read(reinterpret_cast<char*>(bytes.data()), bytes.size())) {
        throw ProblemError({ProblemKind::CaptureFailed,
                            format("no key can be had from /dev/urandom; set {} to a text that "
                                   "nobody guesses",
                                   kKeyVariable)});
    }
    std::string key;
    for (const unsigned byte : bytes) {
        key += format("{:02x}", byte);
    }
    return key;
}

[[noreturn]] void runAnew(const fs::path& program, const std::string& library,
                          std::vector<std::string> words) {
    if (library.find_first_of(" :") != std::string::npos) {
        throw UsageError(format("the loader takes no blank and no colon in the path {}: put the "
                                "package elsewhere",
                                library));
    }
    const char* const others = std::getenv("LD_PRELOAD");
    const bool none = others == nullptr || *others == '\0';
    setenv("LD_PRELOAD", (none ? library : library + ":" + others).c_str(), 1);
    setenv(kStartedVariable, std::to_string(getpid()).c_str(), 1);

    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    execv(program.c_str(), arguments.data());
    throw ProblemError(
        {ProblemKind::CaptureFailed,
         format("the program cannot run itself anew: {}; start it with LD_PRELOAD={} {}={} in its "
                "environment instead, and without --capture",
                std::strerror(errno), library, kFileVariable, std::getenv(kFileVariable))});
}

// ---- Showing one.

std::string preciseTimeText(std::uint64_t nanoseconds) {
    constexpr std::uint64_t kPerSecond = 1000000000;
    const auto seconds = static_cast<std::time_t>(nanoseconds / kPerSecond);
    std::tm parts = {};
    gmtime_r(&seconds, &parts);
    char text[64] = "";
    std::strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%S", &parts);
    return format("{}.{:06}Z", text, nanoseconds % kPerSecond / 1000);
}

// As much as there is of it.
template <class Value>
Value copied(const std::string& bytes) {
    Value value = {};
    std::memcpy(&value, bytes.data(), std::min(bytes.size(), sizeof(value)));
    return value;
}

const char* callName(std::uint32_t call) {
    switch (call) {
    case veskcap::kInit:
        return "vmk_MgmtUserInit";
    case veskcap::kInvoke:
        return "vmk_MgmtUserCallbackInvokeInt";
    default:
        return "vmk_MgmtUserDestroy";
    }
}

const char* pieceName(unsigned kind) {
    switch (kind) {
    case veskcap::kSignature:
        return "signature";
    case veskcap::kCallbackTable:
        return "callback_table";
    case veskcap::kArgumentIn:
        return "parameter_in";
    case veskcap::kArgumentOut:
        return "parameter_out";
    case veskcap::kDataIn:
        return "data_in";
    case veskcap::kDataOut:
        return "data_out";
    case veskcap::kMetaIn:
        return "metadata_in";
    case veskcap::kMetaOut:
        return "metadata_out";
    default:
        return "unknown";
    }
}

// The record of a pass-through, as it was sent or answered; null if the exchange is none.
std::unique_ptr<nvme_uio> commandOf(const Record& record, veskcap::PieceKind kind) {
    const Piece* const piece = record.find(kind, 1);
    if (record.exchange.call != veskcap::kInvoke ||
        record.exchange.callbackId != kPassThroughCallback || piece == nullptr ||
        piece->header.length != sizeof(nvme_uio)) {
        return nullptr;
    }
    return std::make_unique<nvme_uio>(copied<nvme_uio>(piece->bytes));
}

// What the exchange was about.
std::string exchangeName(const Record& record) {
    if (const auto command = commandOf(record, veskcap::kArgumentIn)) {
        return veskcap::commandName(*command);
    }
    if (record.exchange.call == veskcap::kDestroy) {
        return "close";
    }
    if (record.exchange.call == veskcap::kInit) {
        const Piece* const piece = record.find(veskcap::kSignature);
        const auto signature =
            piece == nullptr ? ManagementSignature() : copied<ManagementSignature>(piece->bytes);
        return format("open \"{}\"", printable(fieldText(signature.name)));
    }
    if (record.find(veskcap::kArgumentIn) == nullptr &&
        record.exchange.callbackId == kAdapterListCallback) {
        return "list of adapters";
    }
    return format("callback {}", record.exchange.callbackId);
}

unsigned statusCode(const nvme_uio& answer) {
    return (answer.completionStatus >> 1U) & 0xFFU;
}
unsigned statusCodeType(const nvme_uio& answer) {
    return (answer.completionStatus >> 9U) & 0x7U;
}

// "00 11 22", all or one line's worth.
std::string hexText(const std::string& bytes, std::size_t at, std::size_t count) {
    std::string text;
    for (std::size_t i = at; i < std::min(bytes.size(), at + count); ++i) {
        text += format("{}{:02x}", text.empty() ? "" : " ",
                       static_cast<unsigned>(static_cast<unsigned char>(bytes[i])));
    }
    return text;
}

std::string hexLines(const std::string& bytes) {
    constexpr std::size_t kLine = 16;
    std::string text;
    for (std::size_t at = 0; at < bytes.size(); at += kLine) {
        std::string letters = bytes.substr(at, kLine);
        for (char& letter : letters) {
            letter = letter >= ' ' && letter < '\x7F' ? letter : '.';
        }
        text += format("      {:06x}  {:<47}  {}\n", at, hexText(bytes, at, kLine), letters);
    }
    return text;
}

std::string exchangeLines(const Record& record, bool hex) {
    std::string text =
        format("{}: result {}, {:.1f} us", exchangeName(record), record.exchange.result,
               static_cast<double>(record.exchange.duration) / 1000);
    if (const auto answer = commandOf(record, veskcap::kArgumentOut)) {
        text += format(", status type {} code {}, uio status {}", statusCodeType(*answer),
                       statusCode(*answer), answer->uioStatus);
    }
    text += '\n';
    if (const auto command = commandOf(record, veskcap::kArgumentIn)) {
        text += format("    {}\n", veskcap::commandNumbers(*command));
    }
    for (const Piece& piece : record.pieces) {
        const veskcap::PieceHeader& header = piece.header;
        const bool isParameter =
            header.kind == veskcap::kArgumentIn || header.kind == veskcap::kArgumentOut;
        if (isParameter && !hex) {
            continue;
        }
        text += format("    {}{}: {} bytes{}\n", pieceName(header.kind),
                       isParameter ? format(" {}", header.index) : std::string(), header.length,
                       (header.flags & veskcap::kCut) != 0
                           ? format(", the first {} are kept", header.stored)
                           : std::string());
        if (hex) {
            text += hexLines(piece.bytes);
        }
    }
    return text;
}

std::string fileState(const Record& record) {
    if (record.file.error != 0) {
        return format("not read: {}", std::strerror(record.file.error));
    }
    return format("{} bytes{}", record.content.size(),
                  (record.file.flags & veskcap::kCut) != 0 ? ", cut" : "");
}

std::uint64_t timeOf(const Record& record) {
    switch (record.header.type) {
    case veskcap::kStartRecord:
        return record.start.time;
    case veskcap::kFileRecord:
        return record.file.time;
    default:
        return record.exchange.time;
    }
}

std::string recordLines(const Record& record, bool hex) {
    std::string text = format("#{}  {}  pid {}  ", record.number, preciseTimeText(timeOf(record)),
                              record.header.pid);
    switch (record.header.type) {
    case veskcap::kStartRecord:
        return text + format("start of {}\n", printable(record.text));
    case veskcap::kFileRecord:
        text += format("file {}: {}\n", printable(record.text), fileState(record));
        return hex ? text + hexLines(record.content) : text;
    case veskcap::kExchangeRecord:
        return text + exchangeLines(record, hex);
    default:
        return text + format("a record of the unknown type {}\n", record.header.type);
    }
}

Json commandToJson(const nvme_uio& command) {
    return {{"opcode", command.opcode},
            {"nsid", command.nsid},
            {"cdw10", command.cdw10},
            {"cdw11", command.cdw11},
            {"cdw12", command.cdw12},
            {"cdw13", command.cdw13},
            {"cdw14", command.cdw14},
            {"cdw15", command.cdw15},
            {"direction", command.direction},
            {"data_length", command.dataLength},
            {"metadata_length", command.metaLength},
            {"timeout", command.timeout}};
}

void putExchange(Json& json, const Record& record, bool hex) {
    const veskcap::ExchangeBody& body = record.exchange;
    json["function"] = callName(body.call);
    json["name"] = exchangeName(record);
    json["result"] = body.result;
    json["duration_ns"] = body.duration;
    json["handle"] = format("{:#x}", body.handle);
    json["callback_id"] = body.call == veskcap::kInvoke ? Json(body.callbackId) : Json();
    json["command"] = nullptr;
    json["status_code_type"] = nullptr;
    json["status_code"] = nullptr;
    json["uio_status"] = nullptr;
    if (const auto command = commandOf(record, veskcap::kArgumentIn)) {
        json["command"] = commandToJson(*command);
    }
    if (const auto answer = commandOf(record, veskcap::kArgumentOut)) {
        json["status_code_type"] = statusCodeType(*answer);
        json["status_code"] = statusCode(*answer);
        json["uio_status"] = answer->uioStatus;
    }
    json["pieces"] = Json::array();
    for (const Piece& piece : record.pieces) {
        Json entry = {{"kind", pieceName(piece.header.kind)},
                      {"index", piece.header.index},
                      {"length", piece.header.length},
                      {"stored", piece.header.stored},
                      {"cut", (piece.header.flags & veskcap::kCut) != 0}};
        if (hex) {
            entry["hex"] = hexText(piece.bytes, 0, piece.bytes.size());
        }
        json["pieces"].push_back(std::move(entry));
    }
}

Json recordToJson(const Record& record, bool hex) {
    Json json = {{"number", record.number},
                 {"offset", record.offset},
                 {"type", "unknown"},
                 {"pid", record.header.pid}};
    if (record.header.type > veskcap::kExchangeRecord) {
        return json;
    }
    json["time"] = preciseTimeText(timeOf(record));
    switch (record.header.type) {
    case veskcap::kStartRecord:
        json["type"] = "start";
        json["program"] = record.text;
        break;
    case veskcap::kFileRecord:
        json["type"] = "file";
        json["path"] = record.text;
        json["error"] = record.file.error == 0 ? Json() : Json(std::strerror(record.file.error));
        json["length"] = record.content.size();
        json["cut"] = (record.file.flags & veskcap::kCut) != 0;
        if (hex) {
            json["hex"] = hexText(record.content, 0, record.content.size());
        }
        break;
    case veskcap::kExchangeRecord:
        json["type"] = "exchange";
        putExchange(json, record, hex);
        break;
    default:
        break;
    }
    return json;
}

CommandRunner declareCaptureShow(Options& options) {
    struct Choice {
        std::string file;
        bool hex = false;
    };
    const auto choice = std::make_shared<Choice>();
    options.addPath(choice->file, "FILE", "The capture", true);
    options.addFlag("--hex", choice->hex, "Show all bytes");
    return [choice](const CommandContext& context, Report& report) {
        showCapture(choice->file, context.format != OutputFormat::Table, choice->hex, report);
    };
}

}  // namespace

void addCaptureOptions(Options& target, CaptureOptions& options) {
    target.addText("--capture", options.file, "FILE",
                   "Record in this file what the platform is asked and answers");
    target.addFlag("--mask", options.mask, "Mask serial numbers in the capture");
    target.onlyWith("--mask", "--capture");
}

void startCapture(const CaptureOptions& options, const std::string& libraryName,
                  const std::vector<std::string>& words) {
    if (options.file.empty()) {
        return;
    }
    setenv(kFileVariable, fs::absolute(options.file).c_str(), 1);
    const char* const key = std::getenv(kKeyVariable);
    if (options.mask && (key == nullptr || *key == '\0')) {
        setenv(kKeyVariable, randomKey().c_str(), 1);
    }
    if (captureFunction("vesk_capture_start") != nullptr) {
        return;
    }
    const fs::path program = programPath();
    const std::string library = findCaptureLibrary(program, libraryName);
    const char* const started = std::getenv(kStartedVariable);
    if (started != nullptr && started == std::to_string(getpid())) {
        throw ProblemError(
            {ProblemKind::CaptureFailed,
             format("the loader did not take {} in front; its reason stands above", library)});
    }
    runAnew(program, library, words);
}

void beginCapture(const CaptureOptions& options) {
    const ProblemFunction start = captureFunction("vesk_capture_start");
    const char* const problem = start != nullptr ? start() : nullptr;
    if (problem != nullptr && !options.file.empty()) {
        throw UsageError(problem);
    }
}

std::string captureFile() {
    const char* const file = std::getenv(kFileVariable);
    const bool records = captureFunction("vesk_capture_start") != nullptr && file != nullptr;
    return records ? file : "";
}

void endCapture() {
    if (void* const end = dlsym(RTLD_DEFAULT, "vesk_capture_end")) {
        reinterpret_cast<void (*)()>(end)();
    }
}

void finishCapture(Report& report) {
    const ProblemFunction problem = captureFunction("vesk_capture_problem");
    const char* const text = problem != nullptr ? problem() : nullptr;
    const bool reported =
        std::any_of(report.problems.begin(), report.problems.end(), [text](const Problem& known) {
            return text != nullptr && known.message == text;
        });
    if (text != nullptr && !reported) {
        report.problems.push_back({ProblemKind::CaptureFailed, text});
    }
}

void showCapture(const std::string& name, bool json, bool hex, Report& report) {
    report.fields["format"] = nullptr;
    report.fields["masked"] = nullptr;
    report.fields["records"] = Json::array();
    report.items = "records";
    try {
        std::ifstream stream = veskcap::openCapture(name);
        veskcap::CaptureReader reader(stream);
        const bool masked = (reader.header().flags & veskcap::kMasked) != 0;
        report.fields["format"] = reader.header().version;
        report.fields["masked"] = masked;
        report.text = format("Capture of format {}, serial numbers {}\n", reader.header().version,
                             masked ? "masked" : "as they are");
        Record record;
        while (reader.next(record)) {
            if (json) {
                report.fields["records"].push_back(recordToJson(record, hex));
            } else {
                report.text += recordLines(record, hex);
            }
        }
        if (!reader.damage().empty()) {
            report.problems.push_back({ProblemKind::CaptureDamaged,
                                       format("the capture {} is damaged: {}; what stands before "
                                              "it is shown",
                                              name, reader.damage())});
        }
    } catch (const veskcap::CaptureError& error) {
        report.problems.push_back(
            {ProblemKind::CaptureDamaged, format("the capture {}: {}", name, error.what())});
    }
}

Command captureCommand() {
    return {"capture",
            "Look at a capture, or take one out of a dump",
            nullptr,
            {{"show",
              "List what a capture holds",
              declareCaptureShow,
              {},
              false,
              {{"capture show host.cap", "what was asked and answered"},
               {"capture show host.cap --hex", "with all bytes"}},
              true},
             extractCommand()}};
}

}  // namespace veskctl
