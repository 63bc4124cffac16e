#include "veskctl/trace_log.h"

#include "veskctl/file_text.h"
#include "veskctl/format.h"

#include <sys/stat.h>
#include <unistd.h>

namespace veskctl {

namespace {

constexpr const char* kFolder = "/scratch/log";
constexpr const char* kFile = "/scratch/log/libVeskNVMe.log";
constexpr int kOldestNumber = 8;

void addFile(const std::string& place, TraceLog& log) {
    struct stat status = {};
    if (stat(place.c_str(), &status) == 0 && S_ISREG(status.st_mode)) {
        ++log.fileCount;
        log.totalBytes += static_cast<std::uint64_t>(status.st_size);
    }
}

}  // namespace

TraceLog readTraceLog(const std::string& hostRoot, bool wanted, std::vector<Finding>& findings) {
    TraceLog log;
    log.folder = kFolder;
    const std::string folder = underRoot(hostRoot, kFolder);
    const std::string file = underRoot(hostRoot, kFile);
    struct stat status = {};
    log.folderThere = stat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
    addFile(file, log);
    for (int number = 1; number <= kOldestNumber; ++number) {
        addFile(format("{}.{}", file, number), log);
    }
    if (lstat(file.c_str(), &status) == 0 && S_ISFIFO(status.st_mode) && wanted) {
        findings.push_back({Severity::Error, "log_file_unusable", kFile, std::nullopt,
                            "it is a pipe, and the library waits there for ever", "remove it",
                            true});
    } else if (wanted && !log.folderThere) {
        findings.push_back({Severity::Warning, "log_folder_missing", kFolder, std::nullopt,
                            "the folder is missing, so the library writes no trace log",
                            "make the folder, or write Debug=Off"});
    } else if (wanted && access(folder.c_str(), W_OK | X_OK) != 0) {
        findings.push_back({Severity::Warning, "log_folder_not_writable", kFolder, std::nullopt,
                            "there is no right to write to it, so no trace log is written",
                            "run as root, or write Debug=Off"});
    }
    return log;
}

}  // namespace veskctl
