#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <vector>

#include "platform/FileSystem.h"
#include "support/TempDir.h"

namespace {

using testsupport::TempDir;

TEST(FileSystem, AtomicWriteReplacesWholeOrLeavesEverythingAsItWas) {
    TempDir dir;
    dir.writeFile("old", "previous");
    dir.makeSymlink("link", dir.writeFile("target", "kept"));
    dir.makeDir("folder");
    for (const auto& [path, written] : std::vector<std::pair<std::string, bool>>{
             {dir / "new", true},
             {dir / "old", true},
             {dir / "link", true},  // the link is replaced, not followed
             {dir / "missing/file", false},
             {dir / "folder", false},
             {dir / "ends/", false},
             {"", false}}) {
        SCOPED_TRACE(path);
        EXPECT_EQ(platform::writeFileAtomically(path, "contents", 0640), written);
        if (!written) continue;
        EXPECT_EQ(testsupport::readFile(path), "contents");
        EXPECT_EQ(testsupport::modeOf(path), 0640u) << "a link would show 0777";
    }
    EXPECT_EQ(testsupport::readFile(dir / "target"), "kept");
    EXPECT_TRUE(std::filesystem::is_empty(dir / "folder"));
    // new, old, link, target and folder: no temporary file is left behind.
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 5);
}

// A dangling link is something; what lies behind a file or a missing folder
// is not. New names skip everything that is there, links included.
TEST(FileSystem, WhatIsThereAndTheFirstFreeName) {
    TempDir dir;
    dir.writeFile("file");
    dir.makeDir("folder");
    dir.makeSymlink("dangling", dir / "gone");
    dir.makeSymlink("to-folder", dir / "folder");
    for (const auto& [name, exists] :
         std::vector<std::pair<std::string, bool>>{{"file", true},
                                                   {"folder", true},
                                                   {"dangling", true},
                                                   {"to-folder", true},
                                                   {"gone", false},
                                                   {"file/inside", false},
                                                   {"missing/inside", false}}) {
        EXPECT_EQ(platform::existsWithoutFollowingLink(dir / name), exists) << name;
    }
    EXPECT_FALSE(platform::existsWithoutFollowingLink(""));

    std::vector<std::string> names{"file", "dangling", "to-folder", "gone", "later"};
    auto next = [&, at = std::size_t{0}]() mutable -> std::optional<std::string> {
        if (at == names.size()) return std::nullopt;
        return names[at++];
    };
    EXPECT_EQ(platform::firstFreeName(dir.path(), next), "gone");
    names = {"file", "folder"};
    EXPECT_EQ(platform::firstFreeName(dir.path(), next), std::nullopt) << "names ran out";
}

// Every missing folder is made closed to others; what is there stays as it is.
TEST(FileSystem, PrivateFoldersAreMadeOnlyWhereMissing) {
    TempDir dir;
    ASSERT_EQ(::chmod(dir.makeDir("open").c_str(), 0755), 0);
    dir.writeFile("file");
    EXPECT_TRUE(platform::makePrivateFolders(dir / "open/a/b"));
    for (const auto& [name, mode] : std::vector<std::pair<std::string, unsigned>>{
             {"open", 0755}, {"open/a", 0700}, {"open/a/b", 0700}}) {
        EXPECT_EQ(testsupport::modeOf(dir / name), mode) << name;
    }
    EXPECT_TRUE(platform::makePrivateFolders(dir / "open"));
    EXPECT_FALSE(platform::makePrivateFolders(dir / "file"));
    EXPECT_FALSE(platform::makePrivateFolders(dir / "file/below"));
    EXPECT_FALSE(platform::makePrivateFolders(""));
}

}  // namespace
