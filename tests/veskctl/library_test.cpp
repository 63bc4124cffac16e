// Texts for libraries that cannot be loaded. The loader's texts are those of glibc.
#include "veskctl/library.h"

#include "samples.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace veskctl {

namespace {

TEST(LoadFailure, SaysWhatIsMissingAndWhatToDo) {
    struct Row {
        const char* requested;
        const char* missing;
        const char* told;
    };
    const std::vector<Row> rows = {
        {"libVeskNvme.so", "libVeskNvme.so",
         "library_not_found: the library libVeskNvme.so was not found; install it, add its folder "
         "to LD_LIBRARY_PATH, or name the file with --library (with a slash, as in "
         "./libVeskNvme.so, if it is in the current folder)"},
        {"/opt/x.so", "/opt/x.so",
         "library_not_found: the library /opt/x.so was not found; check the path"},
        {"libVeskNvme.so", "libvmkmgmt.so",
         "library_dependency_missing: libVeskNvme.so needs libvmkmgmt.so, which was not found; it "
         "belongs to the ESXi host: run veskctl on the host, or add the folder that holds it to "
         "LD_LIBRARY_PATH"},
        {"libVeskNvme.so", "libstdc++.so.6",
         "library_dependency_missing: libVeskNvme.so needs libstdc++.so.6, which was not found; "
         "install it, or add the folder that holds it to LD_LIBRARY_PATH"}};
    for (const Row& row : rows) {
        const std::string loaderText =
            std::string(row.missing) +
            ": cannot open shared object file: No such file or directory";
        EXPECT_EQ(told({describeLoadFailure(row.requested, loaderText)}),
                  std::vector<std::string>{row.told});
    }
}

TEST(LoadFailure, OfAFileThatIsThereHasTheLoadersReasonAndAdvice) {
    EXPECT_EQ(told({describeLoadFailure("./a.txt", "./a.txt: invalid ELF header")}),
              std::vector<std::string>{
                  "library_unusable: the library ./a.txt cannot be loaded (./a.txt: invalid ELF "
                  "header); the file is damaged or no libVeskNvme.so for this machine: name the "
                  "right one with --library"});
    struct Row {
        const char* loaderText;
        const char* advice;
    };
    const std::vector<Row> rows = {
        {"/lib/libVeskNvme.so: file too short",
         "the file is damaged or no libVeskNvme.so for this machine: name the right one with "
         "--library"},
        {"/lib/libvmkmgmt.so: file too short", "replace the damaged or foreign file"},
        {"no reason given", "replace the damaged or foreign file"},
        {"libVeskNvme.so: cannot open shared object file: Permission denied",
         "run veskctl as root, or make the file readable"},
        {"libVeskNvme.so: failed to map segment from shared object: Operation not permitted",
         "the host allows no code from there: install the library from its package"},
        {"/lib/libc.so.6: version `GLIBC_2.36' not found (required by /lib/libVeskNvme.so)",
         "it was built for a newer system: install the build for this host"},
        {"/lib/libVeskNvme.so: undefined symbol: vmk_MgmtUserInit",
         "the libvmkmgmt.so that was found lacks what the library needs: use the one of the ESXi "
         "host"},
        {"/lib/libVeskNvme.so: undefined symbol: other",
         "a library that it needs is of another version"}};
    for (const Row& row : rows) {
        const Problem problem = describeLoadFailure("libVeskNvme.so", row.loaderText);
        EXPECT_EQ(problem.kind, ProblemKind::LibraryUnusable) << row.loaderText;
        EXPECT_TRUE(contains(problem.message, std::string("(") + row.loaderText + "); "))
            << problem.message;
        EXPECT_TRUE(contains(problem.message + '\n', std::string("; ") + row.advice + '\n'))
            << problem.message;
    }
}

TEST(LoadFailure, NamesAFunctionThatIsMissing) {
    EXPECT_EQ(told({describeMissingSymbol("/lib/libc.so.6", "ZT_API_Initialize")}),
              std::vector<std::string>{
                  "library_symbol_missing: /lib/libc.so.6 has no function ZT_API_Initialize: it is "
                  "no libVeskNvme.so, or one of another version; name the right one with "
                  "--library"});
}

}  // namespace

}  // namespace veskctl
