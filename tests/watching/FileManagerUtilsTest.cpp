#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "platform/TemporaryDirectory.h"
#include "support/TempDir.h"
#include "watching/FileManagerUtils.h"

namespace {

using testsupport::TempDir;
namespace fs = std::filesystem;

constexpr const char* kAlphabet = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";

TEST(FileManagerUtils, ExistenceCountsLinksThemselves) {
    TempDir dir;
    dir.writeFile("file", "x");
    dir.makeDir("folder");
    dir.makeSymlink("link-to-file", dir / "file");
    dir.makeSymlink("link-to-folder", dir / "folder");
    dir.makeSymlink("dangling", dir / "gone");
    dir.writeFile("closed/inside");
    ::chmod((dir / "closed").c_str(), 0);
    // A privileged run sees through a closed folder; anyone else does not.
    const bool seesThroughClosed = ::geteuid() == 0;

    struct Row {
        std::optional<std::string> path;
        bool exists, directory, link;
    };
    const std::vector<Row> rows = {
        {dir / "file", true, false, false},
        {dir / "folder", true, true, false},
        {dir / "link-to-file", true, false, true},
        {dir / "link-to-folder", true, true, true},
        {dir / "dangling", true, false, true},
        {dir / "gone", false, false, false},
        {dir / "closed", true, true, false},
        {dir / "closed/inside", seesThroughClosed, false, false},
        {std::nullopt, false, false, false},
    };
    for (const Row& row : rows) {
        const std::string name = row.path.value_or("nil");
        EXPECT_EQ(FileManagerUtils::fileExistsWithoutTraversingSymbolicLinkAtPath(row.path),
                  row.exists)
            << name;
        bool directory = !row.directory;  // must be overwritten either way
        EXPECT_EQ(
            FileManagerUtils::fileExistsWithoutTraversingSymbolicLinkAtPath(row.path, &directory),
            row.exists)
            << name;
        EXPECT_EQ(directory, row.directory) << name;
        EXPECT_EQ(
            FileManagerUtils::fileExistsWithoutTraversingSymbolicLinkAtPath(row.path, nullptr),
            row.exists)
            << name;
        EXPECT_EQ(FileManagerUtils::isFileAtPathSymbolicLink(row.path), row.link) << name;
        EXPECT_FALSE(FileManagerUtils::isFileLocked(row.path)) << name;
    }
}

TEST(FileManagerUtils, LockedIsTheImmutableFlag) {
    TempDir dir;
    const std::string file = dir.writeFile("locked", "x");
    const std::string command = "chattr +i '" + file + "' 2>/dev/null";
    if (std::system(command.c_str()) != 0) {
        GTEST_SKIP() << "setting the immutable flag needs CAP_LINUX_IMMUTABLE and ext4/xfs/btrfs";
    }
    struct Unlock {
        std::string path;
        ~Unlock() { (void)std::system(("chattr -i '" + path + "' 2>/dev/null").c_str()); }
    } unlock{file};
    const std::string link = dir.makeSymlink("link-to-locked", file);

    EXPECT_TRUE(FileManagerUtils::isFileLocked(file));
    EXPECT_FALSE(FileManagerUtils::isFileLocked(link)) << "the link itself is not locked";
    EXPECT_NE(::unlink(file.c_str()), 0) << "the flag is really set";
}

TEST(FileManagerUtils, TrashIsMadeUnderTheDataFolder) {
    TempDir dir;
    const std::string dataHome = dir / "deep/data";  // not there yet
    const std::string trash = FileManagerUtils::getTrashPath(dataHome);
    EXPECT_EQ(trash, dataHome + "/Trash/files/");
    EXPECT_TRUE(fs::is_directory(trash));
    EXPECT_EQ(FileManagerUtils::getTrashPath(dataHome + "/"), trash) << "existing Trash";

    EXPECT_EQ(FileManagerUtils::getTrashPath(dir.writeFile("a-file")), "");
    EXPECT_EQ(FileManagerUtils::getTrashPath(""), "");
}

TEST(FileManagerUtils, InTrashIsAPrefixTestWithTheSlash) {
    const std::string trash = "/home/u/.local/share/Trash/files/";
    struct Row {
        std::optional<std::string> path;
        std::string trash;
        bool inTrash;
    };
    const std::vector<Row> rows = {
        {"/home/u/.local/share/Trash/files/Tool.app", trash, true},
        {"/home/u/.local/share/Trash/files/a/b/Tool.app", trash, true},
        {"/home/u/.local/share/Trash/files", trash, false},
        {"/home/u/.local/share/Trash/filesystem", trash, false},
        {"/home/u/Applications/Tool.app", trash, false},
        {std::nullopt, trash, false},
        {"/home/u/.local/share/Trash/files/Tool.app", "", false},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(FileManagerUtils::isFileInTrash(row.path, row.trash), row.inTrash)
            << row.path.value_or("nil") << " in '" << row.trash << "'";
    }
}

TEST(FileManagerUtils, RandomStringsDrawFromTheAlphabet) {
    EXPECT_EQ(FileManagerUtils::randomStringWithLength(0), "");
    EXPECT_EQ(FileManagerUtils::randomStringWithLength(-3), "");
    EXPECT_EQ(FileManagerUtils::randomStringWithLength(5, ""), "");
    EXPECT_EQ(FileManagerUtils::randomStringWithLength(4, "z"), "zzzz");

    // 20000 draws leave one of 62 characters out with a chance below 1e-130.
    const std::string text = FileManagerUtils::randomStringWithLength(20000);
    ASSERT_EQ(text.size(), 20000u);
    const std::set<char> seen(text.begin(), text.end());
    EXPECT_EQ(seen, std::set<char>(kAlphabet, kAlphabet + 62));

    // Several-byte characters are drawn whole: 2-, 3- and 4-byte ones here.
    const std::string drawn = FileManagerUtils::randomStringWithLength(400, "é€𝄞");
    std::set<std::string> wideSeen;
    std::size_t count = 0;
    for (std::size_t at = 0; at < drawn.size(); ++count) {
        const auto lead = static_cast<unsigned char>(drawn[at]);
        const std::size_t size = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
        wideSeen.insert(drawn.substr(at, size));
        at += size;
    }
    EXPECT_EQ(count, 400u);
    EXPECT_EQ(wideSeen, (std::set<std::string>{"é", "€", "𝄞"}));
}

TEST(FileManagerUtils, TempPathIsAnUnusedRandomNameInThePrivateFolder) {
    std::string base = platform::temporaryDirectory();
    if (base.empty()) base = "/tmp/";
    struct Row {
        std::optional<std::string> ext;
        std::string suffix;
    };
    const std::vector<Row> rows = {{"txt", ".txt"}, {std::nullopt, ""}, {"", ""}};
    for (const Row& row : rows) {
        const std::string path = FileManagerUtils::getTempFilePathWithExt(row.ext);
        ASSERT_EQ(path.size(), base.size() + 10 + row.suffix.size()) << path;
        EXPECT_EQ(path.compare(0, base.size(), base), 0) << path;
        const std::string name = path.substr(base.size(), 10);
        EXPECT_EQ(name.find_first_not_of(kAlphabet), std::string::npos) << path;
        EXPECT_EQ(path.substr(base.size() + 10), row.suffix) << path;
        EXPECT_FALSE(fs::exists(fs::symlink_status(path))) << "nothing is created";
    }
    EXPECT_EQ(FileManagerUtils::getTempFilePathWithExt("a/b"), "");
}

TEST(FileManagerUtils, TempNameGrowsPastNamesThatExist) {
    TempDir dir;
    // One-letter names make the collisions certain: 10 and 11 letters are
    // taken (the second by a dangling link), so 12 letters is the answer.
    dir.writeFile("aaaaaaaaaa.txt");
    dir.makeSymlink("aaaaaaaaaaa.txt", dir / "gone");
    std::vector<int> asked;
    const std::string path =
        FileManagerUtils::getTempFilePathWithExt("txt", dir.path(), [&asked](int length) {
            asked.push_back(length);
            return FileManagerUtils::randomStringWithLength(length, "a");
        });
    EXPECT_EQ(path, dir / "aaaaaaaaaaaa.txt");
    EXPECT_EQ(asked, (std::vector<int>{10, 11, 12}));
}

TEST(FileManagerUtils, TempFileNameGetsAFreshFolder) {
    const std::string first = FileManagerUtils::getTempFilePathWithFileName("list.trforsw");
    const std::string second = FileManagerUtils::getTempFilePathWithFileName("list.trforsw");
    const fs::path firstFolder = fs::path(first).parent_path();
    const fs::path secondFolder = fs::path(second).parent_path();
    std::error_code ignored;
    EXPECT_TRUE(fs::is_directory(firstFolder));
    EXPECT_TRUE(fs::is_directory(secondFolder));
    EXPECT_NE(firstFolder, secondFolder);
    EXPECT_EQ(fs::path(first).filename(), "list.trforsw");
    EXPECT_FALSE(fs::exists(first)) << "only the folder is made";
    EXPECT_EQ(firstFolder.filename().string().size(), 10u);
    fs::remove(firstFolder, ignored);
    fs::remove(secondFolder, ignored);
}

}  // namespace
