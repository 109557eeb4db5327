#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "platform/FileWatcher.h"
#include "support/TempDir.h"
#include "watching/WatchingTestSupport.h"

namespace {

using platform::FileWatcher;

// Watches started and ended on the main queue while another thread keeps
// changing every watched folder: an ended watch is never heard from again,
// even for changes read before it ended, and every watch still live hears of
// a change made last.
TEST(FileWatcher, WatchesComeAndGoWhileEventsPourIn) {
    watchingtest::RealMainLoop loop;
    testsupport::TempDir dir;
    constexpr int kFolders = 12;
    std::vector<std::string> folders;
    for (int i = 0; i < kFolders; ++i) folders.push_back(dir.makeDir("f" + std::to_string(i)));

    std::atomic<bool> pouring = true;
    std::thread other([&] {
        for (int i = 0; pouring; ++i) {
            const std::string file = folders[i % kFolders] + "/x";
            const int fd = ::open(file.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
            if (fd >= 0) ::close(fd);
            ::unlink(file.c_str());
        }
    });

    // One live watch per folder; `ended` is set once it is unwatched.
    std::vector<std::pair<FileWatcher::WatchId, std::shared_ptr<bool>>> live(kFolders);
    int lateCalls = 0, calls = 0;
    bool finalPhase = false;
    std::vector<bool> heardLast(kFolders, false);
    auto& watcher = FileWatcher::shared();
    const auto start = [&](int k) {
        auto ended = std::make_shared<bool>(false);
        const auto id = watcher.watch(folders[k], platform::kNoteWrite,
                                      [&, k, ended](const std::string& path, std::uint32_t) {
                                          lateCalls += *ended;
                                          EXPECT_EQ(path, folders[k]);
                                          ++calls;
                                          if (finalPhase) heardLast[k] = true;
                                      });
        ASSERT_NE(id, 0u);
        live[k] = {id, ended};
    };
    for (int k = 0; k < kFolders; ++k) start(k);
    for (int round = 0; round < 100; ++round) {
        // Changes pile up on the main queue meanwhile; some are for watches
        // that end before the queue gets to them.
        std::this_thread::sleep_for(std::chrono::milliseconds(3));
        for (int k = round % 3; k < kFolders; k += 3) {
            watcher.unwatch(live[k].first);
            *live[k].second = true;
            start(k);
        }
        loop->runUntil([] { return false; }, std::chrono::milliseconds(1));
    }
    pouring = false;
    other.join();
    loop->runUntil([] { return false; }, std::chrono::milliseconds(50));

    finalPhase = true;
    for (const auto& folder : folders) dir.writeFile(folder.substr(dir.path().size() + 1) + "/last");
    EXPECT_TRUE(loop->runUntil(
        [&] { return std::find(heardLast.begin(), heardLast.end(), false) == heardLast.end(); },
        testsupport::kPatience));
    EXPECT_EQ(lateCalls, 0);
    EXPECT_GT(calls, kFolders);
    for (const auto& [id, ended] : live) watcher.unwatch(id);
    EXPECT_TRUE(watcher.isRunning());
}

}  // namespace
