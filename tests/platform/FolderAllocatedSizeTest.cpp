#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <set>

#include "platform/FolderAllocatedSize.h"
#include "support/Isolated.h"
#include "support/TempDir.h"

namespace {

namespace fs = std::filesystem;
using platform::allocatedSizeOfFolderContents;

constexpr auto always = +[](std::uint64_t) { return true; };

// Enters every folder, counts how often it is asked, and abandons the walk at once.
std::atomic<int> g_asked{0};
std::atomic<bool> g_stop{false};
bool askedThenStop(std::uint64_t) {
    ++g_asked;
    g_stop = true;
    return true;
}

std::uint64_t blocksOf(const fs::path& path) {
    struct stat info {};
    if (::lstat(path.c_str(), &info) != 0) return 0;
    return static_cast<std::uint64_t>(info.st_blocks) * 512;
}

// The expected answer, worked out another way: every entry the standard
// library's walk can reach without following links, folders left out, a
// file of several names once.
std::uint64_t oracle(const fs::path& folder) {
    std::uint64_t total = 0;
    std::set<std::pair<dev_t, ino_t>> seen;
    std::error_code error;
    for (auto it = fs::recursive_directory_iterator(
             folder, fs::directory_options::skip_permission_denied, error);
         !error && it != fs::recursive_directory_iterator(); it.increment(error)) {
        struct stat info {};
        if (::lstat(it->path().c_str(), &info) != 0 || S_ISDIR(info.st_mode)) continue;
        if (info.st_nlink > 1 && !seen.emplace(info.st_dev, info.st_ino).second) continue;
        total += blocksOf(it->path());
    }
    return total;
}

void writeBytes(const std::string& path, std::size_t count) {
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << std::string(count, 'x');
}

class FolderAllocatedSize : public ::testing::Test {
protected:
    testsupport::TempDir m_dir;
};

TEST_F(FolderAllocatedSize, TreesDeeperThanTheOpenFolderBudget) {
    // A chain of folders far deeper than the walker's 64 descriptors. Every
    // other level also holds side folders named to sort on either side of the
    // chain (differently at each level, so hashed listings differ too): many
    // levels still have a folder to enter when the walk comes back up to them
    // through "..", long after their descriptors were given up.
    constexpr int kLevels = 150;
    const std::string root = m_dir.makeDir("deep");
    std::string level = root;
    int levelsLeftForLater = 0;
    for (int depth = 0; depth < kLevels; ++depth, level += "/m") {
        const bool withSides = depth % 2 == 0;
        const std::string tag = std::to_string(depth);
        if (withSides) writeBytes(level + "/a" + tag + "/file", 5000);
        fs::create_directory(level + "/m");
        if (!withSides) continue;
        writeBytes(level + "/z" + tag + "/file", 1);
        // Listed after the chain, a side folder is entered on the way back up.
        bool chainSeen = false;
        bool sideAfterChain = false;
        for (const auto& entry : fs::directory_iterator(level)) {
            const bool chain = entry.path().filename() == "m";
            sideAfterChain = sideAfterChain || (chainSeen && !chain);
            chainSeen = chainSeen || chain;
        }
        if (sideAfterChain && depth + 64 < kLevels) ++levelsLeftForLater;
    }
    writeBytes(level + "/last", 3);

    EXPECT_EQ(allocatedSizeOfFolderContents(root, always), oracle(root));
    // Otherwise this tree would not test the way back up on this file system.
    EXPECT_GT(levelsLeftForLater, 5);
}

// Each walk is abandoned at its first folder: one that should not happen
// stays short, and one that does ends there with what it had counted.
TEST_F(FolderAllocatedSize, RootsHoldingTheHomeAreNotWalkedAndAStoppedWalkEndsAtItsNextFolder) {
    const std::string home = m_dir.makeDir("outer/home");
    writeBytes(home + "/Library/top", 5000);
    writeBytes(home + "/Library/Caches/top", 5000);
    writeBytes(home + "/Library/Caches/x/y/z/data", 30000);
    writeBytes(m_dir / "outer/file", 30000);
    const struct {
        std::string root;
        bool walked;
    } cases[] = {
        {m_dir.makeSymlink("to-root", "/"), false},
        {"/", false},
        {m_dir.makeSymlink("to-outer", m_dir / "outer"), false},
        {m_dir / "outer", false},
        {m_dir.makeSymlink("to-home", home), false},
        {m_dir.makeSymlink("to-home-by-dots", home + "/Library/.."), false},
        {m_dir.makeSymlink("to-library", home + "/Library"), true},
        {home + "/Library/Caches", true},
    };
    for (const auto& c : cases) {
        g_asked = 0;
        g_stop = false;
        const auto size = allocatedSizeOfFolderContents(c.root, &askedThenStop, {&g_stop, home});
        EXPECT_EQ(g_asked, c.walked ? 1 : 0) << c.root;
        EXPECT_EQ(size, c.walked ? blocksOf(c.root + "/top") : 0u) << c.root;
        if (c.walked) {
            EXPECT_GT(oracle(c.root), size) << c.root;
            EXPECT_EQ(allocatedSizeOfFolderContents(c.root, always, {nullptr, home}),
                      oracle(c.root))
                << c.root;
        }
    }
}

TEST_F(FolderAllocatedSize, StaysOnTheFileSystemOfItsRoot) {
    // A tree with the entries a walk can trip over: a sparse file, a file of
    // two names (counted once, as du counts it), links (counted for
    // themselves, never entered) and a FIFO.
    const std::string root = m_dir.makeDir("tree");
    writeBytes(root + "/page", 4096);
    writeBytes(root + "/a/b/c/deep", 100000);
    std::ofstream(root + "/sparse").close();
    fs::resize_file(root + "/sparse", 50 * 1024 * 1024);
    fs::create_hard_link(root + "/page", root + "/a/page-again");
    m_dir.makeSymlink("tree/link-to-folder", root + "/a");
    m_dir.makeSymlink("tree/dangling", root + "/nothing");
    ::mkfifo((root + "/fifo").c_str(), 0600);
    const std::uint64_t own = oracle(root);
    const std::string mounted = m_dir.makeDir("tree/a/mounted");
    const auto problem = testsupport::runIsolated([&]() -> std::string {
        if (::mount("walktest", mounted.c_str(), "tmpfs", 0, "size=4m") != 0) return "no tmpfs";
        writeBytes(mounted + "/inside", 200000);
        writeBytes(mounted + "/deeper/inside", 200000);
        if (oracle(root) <= own) return "nothing was mounted";
        const auto size = allocatedSizeOfFolderContents(root, always);
        if (size != own)
            return "walked " + std::to_string(size) + ", expected " + std::to_string(own);
        // Sized on its own, the mounted folder is its own file system's root.
        if (allocatedSizeOfFolderContents(mounted, always) != oracle(mounted))
            return "mount not sized";
        return "";
    });
    if (!problem) GTEST_SKIP() << "no mount namespace for a child";
    EXPECT_EQ(*problem, "");
}

}  // namespace
