#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <thread>

#include "support/TempDir.h"
#include "watching/TrashFoldersWatcher.h"
#include "watching/WatchingTestSupport.h"

namespace {

struct Recorder : TrashFoldersWatcherDelegate {
    std::vector<std::vector<TrashFolder>> sets;
    std::vector<std::vector<std::string>> made;
    void trashFoldersChanged(const std::vector<TrashFolder>& folders,
                             const std::vector<std::string>& madeNow) override {
        sets.push_back(folders);
        made.push_back(madeNow);
    }
};

// A disk that gets its first trashed item gains a Trash in the set, made
// while watched; once it is unplugged, the Trash leaves the set; plugged in
// again, its Trash is an old one.
TEST(TrashFoldersWatcher, FollowsADisksTrashAppearingAndTheDiskGoing) {
    watchingtest::RealMainLoop loop;
    testsupport::TempDir place;
    const std::string usb = place.makeDir("usb");
    std::vector<platform::MountPoint> mounts = {{usb, "vfat"}};
    auto watcher = TrashFoldersWatcher::create(
        PathsGenerator("alice", place / "home", place / "home/.local/share"), ::getuid(), false,
        [&] { return mounts; });
    auto recorder = std::make_shared<Recorder>();
    watcher->setDelegate(recorder);
    ASSERT_EQ(watcher->folders().size(), 2U);

    // The Trash first, its "files" a moment later, as trashing programs make them.
    const std::string trash = place.makeDir("usb/.Trash-" + std::to_string(::getuid()));
    loop->runUntil([] { return false; }, TrashFoldersWatcher::kRereadDelay * 2);
    EXPECT_TRUE(recorder->sets.empty());
    place.makeDir("usb/.Trash-" + std::to_string(::getuid()) + "/files");
    ASSERT_TRUE(loop->runUntil([&] { return !recorder->sets.empty(); }, testsupport::kPatience));
    ASSERT_EQ(recorder->sets.back().size(), 3U);
    EXPECT_EQ(recorder->sets.back().back().path, trash + "/files");
    EXPECT_EQ(recorder->sets.back().back().topDirectory, usb);
    EXPECT_EQ(recorder->made.back(), std::vector<std::string>{trash + "/files"});

    mounts.clear();
    watcher->reread();
    ASSERT_EQ(recorder->sets.size(), 2U);
    EXPECT_EQ(recorder->sets.back().size(), 2U);
    watcher->reread();  // nothing changed: nothing told
    EXPECT_EQ(recorder->sets.size(), 2U);

    // A disk plugged in with a Trash of its own brings old items only.
    mounts = {{usb, "vfat"}};
    watcher->reread();
    ASSERT_EQ(recorder->sets.size(), 3U);
    EXPECT_EQ(recorder->sets.back().size(), 3U);
    EXPECT_TRUE(recorder->made.back().empty());
}

// Anyone's busy top folder (a shared /tmp) costs a look for the user's Trash
// now and then, never a read of the whole set per change; a Trash made while
// the folder rests unwatched is still found.
TEST(TrashFoldersWatcher, ABusyTopFolderCostsALookNowAndThen) {
    watchingtest::RealMainLoop loop;
    testsupport::TempDir place;
    const std::string top = place.makeDir("shared");
    int reads = 0;
    auto watcher = TrashFoldersWatcher::create(PathsGenerator("alice", place / "home"),
                                               ::getuid(), false, [&] {
                                                   ++reads;
                                                   return std::vector<platform::MountPoint>{
                                                       {top, "tmpfs"}};
                                               });
    auto recorder = std::make_shared<Recorder>();
    watcher->setDelegate(recorder);
    const int readsAtStart = reads;

    std::atomic<bool> busy = true;
    std::thread other([&] {
        for (int i = 0; busy; ++i) {
            const std::string file = top + "/churn-" + std::to_string(i % 50);
            place.writeFile("shared/churn-" + std::to_string(i % 50));
            ::unlink(file.c_str());
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
    });
    loop->runUntil([] { return false; }, TrashFoldersWatcher::kTopRest / 2);
    EXPECT_EQ(reads, readsAtStart) << "the set was read again for changes of another's files";

    place.makeDir("shared/.Trash-" + std::to_string(::getuid()) + "/files");
    EXPECT_TRUE(loop->runUntil([&] { return !recorder->sets.empty(); }, testsupport::kPatience));
    busy = false;
    other.join();
    ASSERT_FALSE(recorder->sets.empty());
    EXPECT_EQ(recorder->sets.back().back().topDirectory, top);
}

}  // namespace
