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

}  // namespace
