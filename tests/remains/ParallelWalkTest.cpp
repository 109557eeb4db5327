#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>
#include <vector>

#include "platform/FolderAllocatedSize.h"
#include "support/TempDir.h"

namespace {

namespace fs = std::filesystem;
constexpr auto always = +[](std::uint64_t) { return true; };

void file(const fs::path& path, std::size_t bytes) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << std::string(bytes, 'x');
}

// du's total less the folders' own blocks, which du counts and we do not.
std::uint64_t duFilesOnly(const std::string& root) {
    std::uint64_t folders = 0;
    for (auto it =
             fs::recursive_directory_iterator(root, fs::directory_options::skip_permission_denied);
         it != fs::end(it); ++it) {
        struct stat info {};
        if (::lstat(it->path().c_str(), &info) == 0 && S_ISDIR(info.st_mode)) {
            folders += static_cast<std::uint64_t>(info.st_blocks) * 512;
        }
    }
    struct stat info {};
    ::lstat(root.c_str(), &info);
    folders += static_cast<std::uint64_t>(info.st_blocks) * 512;
    FILE* du = ::popen(("du -s -B1 '" + root + "' 2>/dev/null").c_str(), "r");
    unsigned long long total = 0;
    if (du == nullptr || std::fscanf(du, "%llu", &total) != 1) ADD_FAILURE() << "du failed";
    if (du != nullptr) ::pclose(du);
    return total - folders;
}

// The walk shared over the pool answers what the walk on one thread answers
// and what du answers, also with four walks at once on the shared pool, and
// leaves out the folders it may not read, as du does. The superuser reads
// every folder, so as root the checks run once more as nobody.
TEST(ParallelWalk, AnswersWhatTheSequentialWalkAndDuAnswer) {
    const char* given = std::getenv("SWEEPWELL_WALK_TREE");
    testsupport::TempDir dir;
    const std::string root = given ? given : dir.makeDir("tree");
    const auto entry = [&](int folder, const std::string& name) {
        return fs::path(root) / ("w" + std::to_string(folder)) / name;
    };
    if (!given) {
        // Many folders to share, with empty files among them.
        for (int i = 0; i < 3000; ++i) file(entry(i, "f"), i % 7 * 1000);
        // Hard links across the shared folders count once; links count for themselves.
        for (int i = 0; i < 3000; i += 50) fs::create_hard_link(entry(i, "f"), entry(i + 5, "h"));
        fs::create_symlink(fs::path(root) / "w1", entry(2, "to-folder"));
        fs::create_symlink("/nowhere", fs::path(root) / "dangling");
        // A chain deeper than the folders a walk keeps open, taken by whichever thread.
        fs::path level = fs::path(root) / "deep";
        for (int depth = 0; depth < 400; ++depth, level /= "d") {
            if (depth % 40 == 0) file(level / "side" / "f", 5000 + depth);
        }
        for (int closed : {3, 1700, 2999}) {
            file(entry(closed, "hidden/f"), 50000);
            ::chmod(entry(closed, "").c_str(), 0);
        }
    }

    platform::FolderWalkLimits oneByOne;
    oneByOne.inParallel = false;
    const std::uint64_t sequential =
        platform::allocatedSizeOfFolderContents(root, always, oneByOne);
    EXPECT_EQ(sequential, duFilesOnly(root));
    std::vector<std::uint64_t> answers(4);
    std::vector<std::thread> walks;
    for (auto& answer : answers) {
        walks.emplace_back([&] { answer = platform::allocatedSizeOfFolderContents(root, always); });
    }
    for (auto& walk : walks) walk.join();
    for (std::uint64_t answer : answers) EXPECT_EQ(answer, sequential);

    if (!given && ::geteuid() == 0) {
        ::chmod(dir.path().c_str(), 0755);
        const std::string command = "SWEEPWELL_WALK_TREE='" + root +
                                    "' setpriv --reuid=nobody --regid=nogroup --clear-groups '" +
                                    fs::read_symlink("/proc/self/exe").string() +
                                    "' --gtest_filter=ParallelWalk." +
                                    ::testing::UnitTest::GetInstance()->current_test_info()->name();
        const int status = std::system(command.c_str());
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << command;
    }
}

}  // namespace
