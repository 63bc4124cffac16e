#include "veskctl/file_replacement.h"

#include "veskctl/problem.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <sys/stat.h>
#include <unistd.h>

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

// ---- Files that belong to others ----

TEST_F(FileReplacement, RightsAndSymbolicLinksStay) {
    const std::string path = folder + "/mapping.ini";
    veskctl::replaceFile(path, "a long old text\n");
    fs::permissions(path, fs::perms(01640));
    fs::create_symlink("mapping.ini", folder + "/link.ini");
    std::ifstream reader(path);
    EXPECT_TRUE(veskctl::replaceFileAlike(folder + "/link.ini", "new\n"));
    EXPECT_TRUE(fs::is_symlink(folder + "/link.ini"));
    EXPECT_EQ(textOf(path), "new\n");
    EXPECT_EQ(fs::status(path).permissions(), fs::perms(01640));
    std::string text;
    std::getline(reader, text);
    EXPECT_EQ(text, "a long old text") << "who has it open keeps it";
    EXPECT_EQ(fileCount(), 2);
}

TEST_F(FileReplacement, OwnerStays) {
    const std::string path = folder + "/mapping.ini";
    veskctl::replaceFile(path, "old\n");
    if (chown(path.c_str(), 12345, 23456) != 0) {
        GTEST_SKIP() << "only root can give a file away";
    }
    EXPECT_TRUE(veskctl::replaceFileAlike(path, "new\n"));
    struct stat status = {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 12345U);
    EXPECT_EQ(status.st_gid, 23456U);
    EXPECT_EQ(textOf(path), "new\n");
}

TEST_F(FileReplacement, FileThatWouldNotBeAlikeStaysAsItIs) {
    const std::string path = folder + "/mapping.ini";
    veskctl::replaceFile(path, "old\n");
    fs::create_hard_link(path, folder + "/second.ini");
    EXPECT_FALSE(veskctl::replaceFileAlike(path, "new\n"))
        << "the second name would lead elsewhere";
    EXPECT_FALSE(veskctl::replaceFileAlike(folder, "new\n"));
    EXPECT_FALSE(veskctl::replaceFileAlike(folder + "/none.ini", "new\n"));
    const std::string longName = folder + '/' + std::string(250, 'n');
    std::ofstream(longName) << "old\n";
    EXPECT_FALSE(veskctl::replaceFileAlike(longName, "new\n")) << "there is no name beside it";
    EXPECT_EQ(textOf(path), "old\n");
    EXPECT_EQ(textOf(longName), "old\n");
    EXPECT_EQ(fileCount(), 3);
}

}  // namespace
