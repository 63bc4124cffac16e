#include "veskctl/load_failure.h"

#include <fmt/format.h>

namespace veskctl {

namespace {

// The host's management library, which libVeskNvme.so needs.
constexpr const char* kHostLibrary = "libvmkmgmt.so";

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

std::string baseName(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

// The loader's texts begin with the file that they are about.
std::string fileOf(const std::string& loaderText) {
    const std::size_t end = loaderText.find(": ");
    return end == std::string::npos ? std::string() : loaderText.substr(0, end);
}

std::string adviceForNotFound(const std::string& requested) {
    if (requested.find('/') != std::string::npos) {
        return "check the path";
    }
    return "install it, add its folder to LD_LIBRARY_PATH, or name the file with --library (with a "
           "slash, as in ./libVeskNvme.so, if it is in the current folder)";
}

Problem dependencyMissing(const std::string& requested, const std::string& dependency) {
    const std::string advice =
        contains(dependency, kHostLibrary)
            ? "it belongs to the ESXi host: run veskctl on the host, or add the folder that holds "
              "it to LD_LIBRARY_PATH"
            : "install it, or add the folder that holds it to LD_LIBRARY_PATH";
    return {ProblemKind::LibraryDependencyMissing,
            fmt::format("{} needs {}, which was not found; {}", requested, dependency, advice)};
}

}  // namespace

Problem describeLoadFailure(const std::string& requested, const std::string& loaderText) {
    const std::string file = fileOf(loaderText);
    const bool aboutRequested = baseName(file) == baseName(requested);

    if (contains(loaderText, "No such file or directory")) {
        if (!aboutRequested) {
            return dependencyMissing(requested, file);
        }
        return {ProblemKind::LibraryNotFound, fmt::format("the library {} was not found; {}",
                                                          requested, adviceForNotFound(requested))};
    }

    std::string advice;
    if (contains(loaderText, "Permission denied")) {
        advice = "run veskctl as root, or make the file readable";
    } else if (contains(loaderText, "Operation not permitted")) {
        advice = "the host allows no code from there: install the library from its package";
    } else if (contains(loaderText, "' not found (required by")) {
        advice = "it was built for a newer system: install the build for this host";
    } else if (contains(loaderText, "undefined symbol")) {
        advice = contains(loaderText, "vmk_")
                     ? fmt::format("the {} that was found lacks what the library needs: use the "
                                   "one of the ESXi host",
                                   kHostLibrary)
                     : "a library that it needs is of another version";
    } else if (!aboutRequested) {
        advice = "replace the damaged or foreign file";
    } else {
        advice = "the file is damaged or no libVeskNvme.so for this machine: name the right one "
                 "with --library";
    }
    return {ProblemKind::LibraryUnusable,
            fmt::format("the library {} cannot be loaded ({}); {}", requested, loaderText, advice)};
}

Problem describeMissingSymbol(const std::string& file, const std::string& symbol) {
    return {ProblemKind::LibrarySymbolMissing,
            fmt::format("{} has no function {}: it is no libVeskNvme.so, or one of another "
                        "version; name the right one with --library",
                        file, symbol)};
}

}  // namespace veskctl
