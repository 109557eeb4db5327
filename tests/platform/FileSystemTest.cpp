#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <set>
#include <vector>

#include "platform/FileSystem.h"
#include "support/TempDir.h"

namespace {

using platform::UniqueFd;
using testsupport::TempDir;

bool isOpen(int fd) {
    return ::fcntl(fd, F_GETFD) != -1;
}

TEST(UniqueFd, ClosesExactlyOnceWhereverItWasMoved) {
    const int first = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    UniqueFd moved(first);
    UniqueFd owner(std::move(moved));
    EXPECT_EQ(moved.get(), -1);
    owner.reset();
    EXPECT_FALSE(isOpen(first));
    // The number is free again and the next open takes it: neither owner may
    // close it a second time.
    const int second = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(second, first);
    { const UniqueFd stale(std::move(moved)); }
    EXPECT_TRUE(isOpen(second));
    UniqueFd kept(second);
    EXPECT_EQ(kept.release(), second);
    EXPECT_TRUE(isOpen(second));
    kept = UniqueFd(second);
    EXPECT_TRUE(kept.close());
    EXPECT_FALSE(isOpen(second));
    EXPECT_TRUE(kept.close()) << "nothing left to close";
}

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
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(dir.path()))
        names.insert(entry.path().filename());
    EXPECT_EQ(names, (std::set<std::string>{"new", "old", "link", "target", "folder"}))
        << "no temporary file is left behind";
}

TEST(FileSystem, ReadsSmallRegularFilesOnly) {
    TempDir dir;
    dir.writeFile("five", "12345");
    dir.makeDir("folder");
    ASSERT_EQ(::mkfifo((dir / "fifo").c_str(), 0600), 0);
    struct Row {
        std::string name;
        std::size_t limit;
        std::optional<std::string> contents;
    };
    for (const Row& row : std::vector<Row>{{"five", 5, "12345"},
                                           {"five", 4, std::nullopt},
                                           {"folder", 100, std::nullopt},
                                           {"fifo", 100, std::nullopt},
                                           {"missing", 100, std::nullopt}}) {
        EXPECT_EQ(platform::readWholeFile(dir / row.name, row.limit), row.contents)
            << row.name << " within " << row.limit;
    }
}

TEST(FileSystem, PrivateFoldersAreMadeWithTheirParents) {
    TempDir dir;
    const std::string deep = dir / "a/b/c";
    ASSERT_TRUE(platform::makePrivateFolders(deep));
    EXPECT_TRUE(platform::makePrivateFolders(deep)) << "already there";
    for (const std::string& folder : {dir / "a", dir / "a/b", deep}) {
        struct stat info {};
        ASSERT_EQ(::stat(folder.c_str(), &info), 0);
        EXPECT_EQ(info.st_mode & 07777, 0700u) << folder;
    }
    EXPECT_FALSE(platform::makePrivateFolders(dir.writeFile("file") + "/below"));
    EXPECT_FALSE(platform::makePrivateFolders(dir.writeFile("plain")));
}

}  // namespace
