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
        struct stat info {};
        if (!written) continue;
        EXPECT_EQ(testsupport::readFile(path), "contents");
        ASSERT_EQ(::lstat(path.c_str(), &info), 0);
        EXPECT_TRUE(S_ISREG(info.st_mode));
        EXPECT_EQ(info.st_mode & 07777, 0640u);
    }
    EXPECT_EQ(testsupport::readFile(dir / "target"), "kept");
    EXPECT_TRUE(std::filesystem::is_empty(dir / "folder"));
    // new, old, link, target and folder: no temporary file is left behind.
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 5);
}

}  // namespace
