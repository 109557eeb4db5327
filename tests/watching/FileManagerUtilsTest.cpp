#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "platform/DirectoryReader.h"
#include "platform/TemporaryDirectory.h"
#include "support/TempDir.h"
#include "watching/FileManagerUtils.h"

namespace {

using testsupport::TempDir;
namespace fs = std::filesystem;
namespace fm = FileManagerUtils;

constexpr const char* kAlphabet = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";

// What the file tree reads of the disk and what the file-manager helpers
// answer, for the same entries.
TEST(FileManagerUtils, ExistenceCountsLinksThemselvesAsTheTreesReaderDoes) {
    TempDir dir;
    ASSERT_EQ(::link(dir.writeFile("file", "x").c_str(), (dir / "second-name").c_str()), 0);
    dir.makeDir("folder");
    dir.writeFile("Tool.app/x");
    dir.writeFile("Plain/Contents/Info.plist");
    dir.makeSymlink("link-to-file", dir / "file");
    dir.makeSymlink("link-to-folder", dir / "folder");
    dir.makeSymlink("dangling", dir / "gone");
    dir.writeFile("closed/inside");
    ::chmod((dir / "closed").c_str(), 0);
    // A privileged run sees through a closed folder; anyone else does not.
    const bool seesThroughClosed = ::geteuid() == 0;
    struct Row {
        std::string name;
        bool exists, leadsToFolder, link, folder, package;
        std::uint64_t names;
    };
    for (const Row& row :
         std::vector<Row>{{"file", true, false, false, false, false, 2},
                          {"folder", true, true, false, true, false, 1},
                          {"Tool.app", true, true, false, true, true, 1},
                          {"Plain", true, true, false, true, true, 1},
                          {"link-to-file", true, false, true, false, false, 1},
                          {"link-to-folder", true, true, true, false, false, 1},
                          {"link-to-folder/", true, true, true, false, false, 1},
                          {"dangling", true, false, true, false, false, 1},
                          {"gone", false, false, false, false, false, 0},
                          {"closed", true, true, false, true, false, 1},
                          {"closed/inside", seesThroughClosed, false, false, false, false, 1}}) {
        SCOPED_TRACE(row.name);
        const std::string path = dir / row.name;
        EXPECT_EQ(fm::fileExistsWithoutTraversingSymbolicLinkAtPath(path), row.exists);
        bool directory = !row.leadsToFolder;  // must be overwritten either way
        EXPECT_EQ(fm::fileExistsWithoutTraversingSymbolicLinkAtPath(path, &directory), row.exists);
        EXPECT_EQ(directory, row.leadsToFolder);
        EXPECT_EQ(fm::fileExistsWithoutTraversingSymbolicLinkAtPath(path, nullptr), row.exists);
        EXPECT_EQ(fm::isFileAtPathSymbolicLink(path), row.link);
        EXPECT_FALSE(fm::isFileLocked(path));
        const auto entry = platform::DirectoryReader::disk()->entryAt(path);
        ASSERT_EQ(entry.has_value(), row.exists);
        if (!entry) continue;
        EXPECT_EQ(std::make_tuple(entry->leadsToFolder, entry->isSymbolicLink, entry->isFolder,
                                  entry->isPackage, entry->linkCount),
                  std::make_tuple(row.leadsToFolder, row.link, row.folder, row.package, row.names));
    }
    bool directory = true;
    EXPECT_FALSE(fm::fileExistsWithoutTraversingSymbolicLinkAtPath(std::nullopt, &directory));
    EXPECT_FALSE(directory || fm::isFileAtPathSymbolicLink(std::nullopt) ||
                 fm::isFileLocked(std::nullopt));
}

TEST(FileManagerUtils, LockedIsTheImmutableFlag) {
    TempDir dir;
    const std::string file = dir.writeFile("locked", "x");
    if (std::system(("chattr +i '" + file + "' 2>/dev/null").c_str()) != 0) {
        GTEST_SKIP() << "setting the immutable flag needs CAP_LINUX_IMMUTABLE and ext4/xfs/btrfs";
    }
    struct Unlock {
        std::string path;
        ~Unlock() { (void)std::system(("chattr -i '" + path + "' 2>/dev/null").c_str()); }
    } unlock{file};
    EXPECT_TRUE(fm::isFileLocked(file));
    EXPECT_FALSE(fm::isFileLocked(dir.makeSymlink("link", file))) << "the link itself is not";
    EXPECT_NE(::unlink(file.c_str()), 0) << "the flag is really set";
}

TEST(FileManagerUtils, TrashIsMadeUnderTheDataFolderAndFoundByPrefix) {
    TempDir dir;
    const std::string dataHome = dir / "deep/data";  // not there yet
    const std::string trash = fm::getTrashPath(dataHome);
    EXPECT_EQ(trash, dataHome + "/Trash/files/");
    EXPECT_TRUE(fs::is_directory(trash));
    EXPECT_EQ(fm::getTrashPath(dataHome + "/"), trash) << "existing Trash";
    EXPECT_EQ(fm::getTrashPath(dir.writeFile("a-file")), "");
    EXPECT_EQ(fm::getTrashPath(""), "");

    const std::string home = "/home/u/.local/share/Trash/files/";
    struct Row {
        std::optional<std::string> path;
        std::string trash;
        bool inTrash;
    };
    for (const Row& row : std::vector<Row>{{home + "Tool.app", home, true},
                                           {home + "a/b/Tool.app", home, true},
                                           {"/home/u/.local/share/Trash/files", home, false},
                                           {"/home/u/.local/share/Trash/filesystem", home, false},
                                           {"/home/u/Applications/Tool.app", home, false},
                                           {std::nullopt, home, false},
                                           {home + "Tool.app", "", false}}) {
        EXPECT_EQ(fm::isFileInTrash(row.path, row.trash), row.inTrash)
            << row.path.value_or("nil") << " in '" << row.trash << "'";
    }
}

TEST(FileManagerUtils, RandomStringsDrawWholeCharactersFromTheAlphabet) {
    EXPECT_EQ(fm::randomStringWithLength(0), "");
    EXPECT_EQ(fm::randomStringWithLength(-3), "");
    EXPECT_EQ(fm::randomStringWithLength(5, ""), "");
    EXPECT_EQ(fm::randomStringWithLength(4, "z"), "zzzz");
    // 20000 draws leave one of 62 characters out with a chance below 1e-130.
    const std::string text = fm::randomStringWithLength(20000);
    ASSERT_EQ(text.size(), 20000u);
    EXPECT_EQ(std::set<char>(text.begin(), text.end()), std::set<char>(kAlphabet, kAlphabet + 62));
    // Characters of 2, 3 and 4 bytes are drawn whole, each of them.
    std::string drawn = fm::randomStringWithLength(400, "é€𝄞");
    std::size_t count = 0;
    for (const std::string whole : {"é", "€", "𝄞"}) {
        const std::size_t before = count;
        for (std::size_t at; (at = drawn.find(whole)) != std::string::npos; ++count) {
            drawn.erase(at, whole.size());
        }
        EXPECT_GT(count, before) << whole;
    }
    EXPECT_EQ(drawn, "");
    EXPECT_EQ(count, 400u);
}

TEST(FileManagerUtils, TempPathIsAnUnusedRandomNameInThePrivateFolder) {
    std::string base = platform::temporaryDirectory();
    if (base.empty()) base = "/tmp/";
    for (const auto& [ext, suffix] :
         std::vector<std::pair<std::optional<std::string>, std::string>>{
             {"txt", ".txt"}, {std::nullopt, ""}, {"", ""}}) {
        const std::string path = fm::getTempFilePathWithExt(ext);
        ASSERT_EQ(path.size(), base.size() + 10 + suffix.size()) << path;
        EXPECT_EQ(path.compare(0, base.size(), base), 0) << path;
        EXPECT_EQ(path.substr(base.size(), 10).find_first_not_of(kAlphabet), std::string::npos);
        EXPECT_EQ(path.substr(base.size() + 10), suffix) << path;
        EXPECT_FALSE(fs::exists(fs::symlink_status(path))) << "nothing is created";
    }
    EXPECT_EQ(fm::getTempFilePathWithExt("a/b"), "");

    // With one-letter names, 10 and 11 letters are taken (the second by a
    // dangling link), so 12 letters is the answer.
    TempDir dir;
    dir.writeFile("aaaaaaaaaa.txt");
    dir.makeSymlink("aaaaaaaaaaa.txt", dir / "gone");
    std::vector<int> asked;
    EXPECT_EQ(fm::getTempFilePathWithExt("txt", dir.path(),
                                         [&asked](int length) {
                                             asked.push_back(length);
                                             return fm::randomStringWithLength(length, "a");
                                         }),
              dir / "aaaaaaaaaaaa.txt");
    EXPECT_EQ(asked, (std::vector<int>{10, 11, 12}));

    // A file name gets a fresh folder of its own, and only the folder is made.
    const fs::path first = fm::getTempFilePathWithFileName("list.trforsw");
    const fs::path second = fm::getTempFilePathWithFileName("list.trforsw");
    EXPECT_NE(first.parent_path(), second.parent_path());
    for (const fs::path& path : {first, second}) {
        EXPECT_TRUE(fs::is_directory(path.parent_path()));
        EXPECT_EQ(path.filename(), "list.trforsw");
        EXPECT_FALSE(fs::exists(path));
        EXPECT_EQ(path.parent_path().filename().string().size(), 10u);
        std::error_code ignored;
        fs::remove(path.parent_path(), ignored);
    }
}

}  // namespace
