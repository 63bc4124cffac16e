#include "veskctl/file_replacement.h"

#include "veskctl/problem.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

class FileReplacement : public testing::Test {
protected:
    FileReplacement() {
        std::string pattern = (fs::temp_directory_path() / "replacement-XXXXXX").string();
        folder = mkdtemp(pattern.data());
    }
    ~FileReplacement() override { fs::remove_all(folder); }

    static std::string textOf(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

    std::ptrdiff_t fileCount() const {
        return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
    }

    std::string folder;
};

TEST_F(FileReplacement, MakesAndReplaces) {
    const std::string path = folder + "/vesk.prom";
    veskctl::replaceFile(path, "long old text\n");
    veskctl::replaceFile(path, "new\n");
    EXPECT_EQ(textOf(path), "new\n");
    EXPECT_EQ(fileCount(), 1);
    EXPECT_EQ(fs::status(path).permissions(), fs::perms(0644));
}

TEST_F(FileReplacement, ReadersOfTheOldFileKeepIt) {
    const std::string path = folder + "/vesk.prom";
    veskctl::replaceFile(path, "old");
    std::ifstream reader(path);
    veskctl::replaceFile(path, "new");
    std::string text;
    reader >> text;
    EXPECT_EQ(text, "old");
}

TEST_F(FileReplacement, FolderThatIsNotThere) {
    EXPECT_THROW(veskctl::replaceFile(folder + "/none/vesk.prom", "x"), veskctl::ProblemError);
}

TEST_F(FileReplacement, NoFileIsReplacedByOne) {
    ASSERT_EQ(mkfifo((folder + "/pipe").c_str(), 0600), 0);
    EXPECT_THROW(veskctl::replaceFile(folder + "/pipe", "x"), veskctl::ProblemError);
    EXPECT_THROW(veskctl::replaceFile(folder, "x"), veskctl::ProblemError);
    EXPECT_EQ(fileCount(), 1);
}

}  // namespace
