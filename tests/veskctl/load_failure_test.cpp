// Texts for libraries that cannot be loaded. The loader's texts are those of glibc.
#include "veskctl/load_failure.h"

#include <gtest/gtest.h>

namespace {

using veskctl::describeLoadFailure;
using veskctl::describeMissingSymbol;
using veskctl::Problem;
using veskctl::ProblemKind;

TEST(LoadFailure, LibraryNotFoundByName) {
    const Problem problem = describeLoadFailure(
        "libVeskNvme.so",
        "libVeskNvme.so: cannot open shared object file: No such file or directory");
    EXPECT_EQ(problem.kind, ProblemKind::LibraryNotFound);
    EXPECT_EQ(problem.message,
              "the library libVeskNvme.so was not found; install it, add its folder to "
              "LD_LIBRARY_PATH, or name the file with --library (with a slash, as in "
              "./libVeskNvme.so, if it is in the current folder)");
}

TEST(LoadFailure, LibraryNotFoundByPath) {
    const Problem problem = describeLoadFailure(
        "/opt/x.so", "/opt/x.so: cannot open shared object file: No such file or directory");
    EXPECT_EQ(problem.kind, ProblemKind::LibraryNotFound);
    EXPECT_EQ(problem.message, "the library /opt/x.so was not found; check the path");
}

TEST(LoadFailure, HostLibraryMissing) {
    const Problem problem = describeLoadFailure(
        "libVeskNvme.so",
        "libvmkmgmt.so: cannot open shared object file: No such file or directory");
    EXPECT_EQ(problem.kind, ProblemKind::LibraryDependencyMissing);
    EXPECT_EQ(problem.message,
              "libVeskNvme.so needs libvmkmgmt.so, which was not found; it belongs to the ESXi "
              "host: run veskctl on the host, or add the folder that holds it to "
              "LD_LIBRARY_PATH");
}

TEST(LoadFailure, OtherLibraryMissing) {
    const Problem problem = describeLoadFailure(
        "libVeskNvme.so",
        "libstdc++.so.6: cannot open shared object file: No such file or directory");
    EXPECT_EQ(problem.kind, ProblemKind::LibraryDependencyMissing);
    EXPECT_EQ(problem.message,
              "libVeskNvme.so needs libstdc++.so.6, which was not found; install it, or add the "
              "folder that holds it to LD_LIBRARY_PATH");
}

TEST(LoadFailure, WrongFile) {
    const Problem problem = describeLoadFailure("./a.txt", "./a.txt: invalid ELF header");
    EXPECT_EQ(problem.kind, ProblemKind::LibraryUnusable);
    EXPECT_EQ(problem.message,
              "the library ./a.txt cannot be loaded (./a.txt: invalid ELF header); the file is "
              "damaged or no libVeskNvme.so for this machine: name the right one with --library");
}

TEST(LoadFailure, DamagedFileThatTheLoaderFound) {
    const Problem problem =
        describeLoadFailure("libVeskNvme.so", "/lib/libVeskNvme.so: file too short");
    EXPECT_NE(problem.message.find("the file is damaged"), std::string::npos);
    const Problem other =
        describeLoadFailure("libVeskNvme.so", "/lib/libvmkmgmt.so: file too short");
    EXPECT_NE(other.message.find("replace the damaged or foreign file"), std::string::npos);
}

TEST(LoadFailure, ReasonsWithTheirOwnAdvice) {
    const char* const name = "libVeskNvme.so";
    EXPECT_NE(describeLoadFailure(name, "libVeskNvme.so: cannot open shared object file: "
                                        "Permission denied")
                  .message.find("run veskctl as root"),
              std::string::npos);
    EXPECT_NE(describeLoadFailure(name, "libVeskNvme.so: failed to map segment from shared "
                                        "object: Operation not permitted")
                  .message.find("install the library from its package"),
              std::string::npos);
    EXPECT_NE(describeLoadFailure(name, "/lib/libc.so.6: version `GLIBC_2.36' not found (required "
                                        "by /lib/libVeskNvme.so)")
                  .message.find("built for a newer system"),
              std::string::npos);
    EXPECT_NE(describeLoadFailure(name, "/lib/libVeskNvme.so: undefined symbol: vmk_MgmtUserInit")
                  .message.find("the libvmkmgmt.so that was found lacks"),
              std::string::npos);
    EXPECT_NE(describeLoadFailure(name, "/lib/libVeskNvme.so: undefined symbol: other")
                  .message.find("is of another version"),
              std::string::npos);
}

TEST(LoadFailure, ATextWithoutAFileIsKept) {
    const Problem problem = describeLoadFailure("x.so", "no reason given");
    EXPECT_EQ(problem.kind, ProblemKind::LibraryUnusable);
    EXPECT_NE(problem.message.find("(no reason given)"), std::string::npos);
}

TEST(LoadFailure, MissingSymbol) {
    const Problem problem = describeMissingSymbol("/lib/libc.so.6", "ZT_API_Initialize");
    EXPECT_EQ(problem.kind, ProblemKind::LibrarySymbolMissing);
    EXPECT_EQ(problem.message,
              "/lib/libc.so.6 has no function ZT_API_Initialize: it is no libVeskNvme.so, or one "
              "of another version; name the right one with --library");
}

}  // namespace
