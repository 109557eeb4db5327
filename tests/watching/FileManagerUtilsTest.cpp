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
#include "support/DataTable.h"
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
    const auto yes = [](const std::string& field) {
        return field == "yes" || (field == "root" && ::geteuid() == 0);
    };
    for (const auto& row : testsupport::readDataTable("FileManagerUtils/existence.tsv")) {
        SCOPED_TRACE(row.at(0));
        const std::string path = dir / row.at(0);
        const bool exists = yes(row.at(1)), leadsToFolder = yes(row.at(2)), link = yes(row.at(3));
        EXPECT_EQ(fm::fileExistsWithoutTraversingSymbolicLinkAtPath(path), exists);
        bool directory = !leadsToFolder;  // must be overwritten either way
        EXPECT_EQ(fm::fileExistsWithoutTraversingSymbolicLinkAtPath(path, &directory), exists);
        EXPECT_EQ(directory, leadsToFolder);
        EXPECT_EQ(fm::fileExistsWithoutTraversingSymbolicLinkAtPath(path, nullptr), exists);
        EXPECT_EQ(fm::isFileAtPathSymbolicLink(path), link);
        EXPECT_FALSE(fm::isFileLocked(path));
        const auto entry = platform::DirectoryReader::disk()->entryAt(path);
        ASSERT_EQ(entry.has_value(), exists);
        if (!entry) continue;
        EXPECT_EQ(std::make_tuple(entry->leadsToFolder, entry->isSymbolicLink, entry->isFolder,
                                  entry->isPackage, entry->linkCount),
                  std::make_tuple(leadsToFolder, link, yes(row.at(4)), yes(row.at(5)),
                                  std::stoull(row.at(6))));
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
    EXPECT_TRUE(fm::isFileLocked(file));
    EXPECT_FALSE(fm::isFileLocked(dir.makeSymlink("link", file))) << "the link itself is not";
    (void)std::system(("chattr -i '" + file + "'").c_str());
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
    for (const auto& row : testsupport::readDataTable("FileManagerUtils/in-trash.tsv")) {
        const auto path = row.at(0) == "<none>" ? std::nullopt : std::optional(row.at(0));
        EXPECT_EQ(fm::isFileInTrash(path, row.at(1)), row.at(2) == "yes")
            << testsupport::describeRow(row);
    }
}

TEST(FileManagerUtils, RandomNamesDrawWholeCharactersAndAreUnused) {
    EXPECT_EQ(fm::randomStringWithLength(-3), "");
    EXPECT_EQ(fm::randomStringWithLength(5, ""), "");
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

    std::string base = platform::temporaryDirectory();
    for (const auto& [ext, suffix] :
         std::vector<std::pair<std::optional<std::string>, std::string>>{
             {"txt", ".txt"}, {std::nullopt, ""}, {"", ""}}) {
        const std::string path = fm::getTempFilePathWithExt(ext);
        EXPECT_EQ(path.substr(0, path.size() - 10 - suffix.size()), base.empty() ? "/tmp/" : base);
        EXPECT_EQ(path.substr(path.size() - suffix.size() - 10, 10).find_first_not_of(kAlphabet),
                  std::string::npos);
        EXPECT_TRUE(path.ends_with(suffix) && !fs::exists(fs::symlink_status(path))) << path;
    }
    EXPECT_EQ(fm::getTempFilePathWithExt("a/b"), "");

    // With one-letter names, 10 and 11 letters are taken (the second by a
    // dangling link), so 12 letters is the answer.
    TempDir dir;
    dir.writeFile("aaaaaaaaaa.txt");
    dir.makeSymlink("aaaaaaaaaaa.txt", dir / "gone");
    std::vector<int> asked;
    const auto draw = [&asked](int length) {
        asked.push_back(length);
        return fm::randomStringWithLength(length, "a");
    };
    EXPECT_EQ(fm::getTempFilePathWithExt("txt", dir.path(), draw), dir / "aaaaaaaaaaaa.txt");
    EXPECT_EQ(asked, (std::vector<int>{10, 11, 12}));

    // A file name gets a fresh folder of its own, and only the folder is made.
    const fs::path first = fm::getTempFilePathWithFileName("list.trforsw");
    const fs::path second = fm::getTempFilePathWithFileName("list.trforsw");
    EXPECT_NE(first.parent_path(), second.parent_path());
    for (const fs::path& path : {first, second}) {
        EXPECT_EQ(path.filename(), "list.trforsw");
        EXPECT_FALSE(fs::exists(path));
        EXPECT_EQ(path.parent_path().filename().string().size(), 10u);
        EXPECT_TRUE(fs::remove(path.parent_path())) << "the folder was made";
    }
}

}  // namespace
