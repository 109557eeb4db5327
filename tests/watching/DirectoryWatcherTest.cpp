#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <map>
#include <vector>

#include "dispatch/ManualMainQueue.h"
#include "platform/PathUtils.h"
#include "watching/AppsInTrashWatcher.h"
#include "watching/DirectoryWatcher.h"
#include "watching/WatchingTestSupport.h"

using namespace std::chrono_literals;
using testsupport::TempDir;
using watchingtest::makeBundle;

namespace {

struct Reports : AppsInTrashWatcherListener {
    std::string trash;
    std::vector<std::pair<std::string, dispatch::Duration>> got;  // (path in the Trash, when)
    dispatch::TimePoint start = dispatch::MainQueue::main().now();
    std::function<void()> onReport;
    void onAppMovedToTrash(const std::shared_ptr<platform::Bundle>& bundle) override {
        got.emplace_back(bundle->path().substr(trash.size() + 1),
                         dispatch::MainQueue::main().now() - start);
        if (onReport) onReport();
    }
};

// The Trash watcher on the virtual clock. It stops listening to the kernel so
// that only the changes a test announces arrive, at the moments it chooses.
class TrashInVirtualTime : public ::testing::Test {
protected:
    TempDir dir;
    std::string trash = dir.makeDir("Trash");
    std::shared_ptr<dispatch::ManualMainQueue> queue =
        std::make_shared<dispatch::ManualMainQueue>();
    dispatch::ScopedMainQueue scoped{queue};
    std::shared_ptr<Reports> reports = std::make_shared<Reports>();
    std::shared_ptr<AppsInTrashWatcher> watcher;

    void start() {
        reports->trash = trash;
        watcher = AppsInTrashWatcher::create(reports, trash);
        watcher->getTrashWatcher()->stopWatching();
    }
    void trashIt(const std::string& relative) {
        std::rename((dir / relative).c_str(),
                    (trash + "/" + platform::PathUtils::lastPathComponent(relative)).c_str());
    }
    void changed() { watcher->getTrashWatcher()->contentsChanged(); }
    std::multimap<std::string, dispatch::Duration> reported() const {
        return {reports->got.begin(), reports->got.end()};
    }
};

TEST_F(TrashInVirtualTime, BurstOfEventsGivesOneRescanTwoSecondsAfterTheLast) {
    start();
    makeBundle(dir, "Fresh.app");
    trashIt("Fresh.app");
    for (int i = 0; i < 7; ++i) {  // t = 0, 1.5, ..., 9.0 s
        changed();
        queue->advance(1500ms);
    }
    queue->advance(400ms);
    EXPECT_TRUE(reports->got.empty());
    queue->advance(100ms);  // 2 s after the last event
    ASSERT_EQ(reports->got.size(), 1u);
    EXPECT_EQ(reports->got[0].first, "Fresh.app");
    EXPECT_EQ(reports->got[0].second, 11s);
    queue->advance(30s);
    EXPECT_EQ(reports->got.size(), 1u);
}

TEST_F(TrashInVirtualTime, DroppedFolderIsReportedAtTheRescanAndByItsSearches) {
    start();
    makeBundle(dir, "Apps/A.app");
    makeBundle(dir, "Apps/Sub/B.app");
    dir.writeFile("Apps/readme.txt");
    trashIt("Apps");
    changed();
    queue->advance(2s);
    EXPECT_EQ(reported(), (std::multimap<std::string, dispatch::Duration>{{"Apps/A.app", 2s}}));
    queue->advance(10s);
    EXPECT_EQ(reported(), (std::multimap<std::string, dispatch::Duration>{
                              {"Apps/A.app", 2s},
                              {"Apps/A.app", 4s},
                              {"Apps/Sub/B.app", 4s},  // the search of Apps
                              {"Apps/Sub/B.app", 4s},  // the search of Apps/Sub
                          }));
}

TEST_F(TrashInVirtualTime, OnlyNewGenuineForeignApplicationsAreReported) {
    makeBundle(dir, "Trash/Old.app");
    makeBundle(dir, "Trash/Kept.app");
    start();
    std::filesystem::remove_all(trash + "/Old.app");
    makeBundle(dir, "Good.app");
    makeBundle(dir, "NoId.app", std::nullopt);
    makeBundle(dir, "Own.app", "COM.quorvex.Sweepwell-Plus-Helper");
    makeBundle(dir, "Main.app", "com.quorvex.Sweepwell-Plus");
    makeBundle(dir, "Outer.app", "com.example.outer");
    makeBundle(dir, "Outer.app/Contents/Inner.app", "com.example.inner");
    dir.writeFile("File.app");
    for (const char* name :
         {"Good.app", "NoId.app", "Own.app", "Main.app", "Outer.app", "File.app"})
        trashIt(name);
    changed();
    queue->advance(10s);
    EXPECT_EQ(reported(), (std::multimap<std::string, dispatch::Duration>{{"Good.app", 2s},
                                                                          {"Outer.app", 2s}}));
}

// Identifier and product filters are covered above; these are the paths the
// tree never offers but a caller might.
TEST(AppsInTrashWatcher, IsReallyAppBundlePathRejectsNestedAndBrokenBundles) {
    TempDir dir;
    makeBundle(dir, "Outer.app");
    makeBundle(dir, "Outer.app/Contents/Inner.app");
    makeBundle(dir, "Pane.prefPane/Contents/Tool.app");
    dir.writeFile("Broken.app/Contents/Info.plist", "not a plist");
    EXPECT_TRUE(AppsInTrashWatcher::isReallyAppBundlePath(dir / "Outer.app"));
    for (const char* relative : {"Outer.app/Contents/Inner.app", "Pane.prefPane/Contents/Tool.app",
                                 "Broken.app", "Missing.app"}) {
        EXPECT_FALSE(AppsInTrashWatcher::isReallyAppBundlePath(dir / relative)) << relative;
    }
}

TEST(AppsInTrashWatcher, RealMovesAreReportedOnceAfterTheQuietPeriod) {
    TempDir dir;
    const std::string trash = dir.makeDir("Trash");
    watchingtest::RealMainLoop loop;
    auto reports = std::make_shared<Reports>();
    reports->trash = trash;
    auto watcher = AppsInTrashWatcher::create(reports, trash);

    makeBundle(dir, "One.app");
    const auto moved = loop->now();
    std::rename((dir / "One.app").c_str(), (trash + "/One.app").c_str());
    ASSERT_TRUE(loop->runUntil([&] { return !reports->got.empty(); }, 6s));
    EXPECT_EQ(reports->got[0].first, "One.app");
    EXPECT_GE(loop->now() - moved, DirectoryWatcher::kUpdateDelay);
    EXPECT_LT(loop->now() - moved, 5s);
    EXPECT_FALSE(loop->runUntil([&] { return reports->got.size() > 1; }, 2500ms));

    // Two bundles moved together arrive in the same rescan: when the first is
    // reported, the second already has been by the time the next block runs.
    reports->got.clear();
    std::size_t seenAfterFirst = 0;
    reports->onReport = [&] {
        if (reports->got.size() == 1) loop->async([&] { seenAfterFirst = reports->got.size(); });
    };
    makeBundle(dir, "Two.app");
    makeBundle(dir, "Three.app");
    std::rename((dir / "Two.app").c_str(), (trash + "/Two.app").c_str());
    std::rename((dir / "Three.app").c_str(), (trash + "/Three.app").c_str());
    ASSERT_TRUE(loop->runUntil([&] { return seenAfterFirst != 0; }, 6s));
    EXPECT_EQ(seenAfterFirst, 2u);
}

// The watched folder is what its path leads to, and never a package.
TEST(AppsInTrashWatcher, TheTrashIsTheFolderItsPathLeadsToWhateverItHolds) {
    for (const bool throughLink : {true, false}) {
        SCOPED_TRACE(throughLink ? "a link to the Trash" : "a Trash holding Contents/Info.plist");
        TempDir dir;
        const std::string folder = dir.makeDir("Folder");
        makeBundle(dir, "Folder/Old.app");
        std::string trash = folder;
        if (throughLink) {
            trash = dir.makeSymlink("Trash", folder);
        } else {
            dir.writeFile("Folder/Contents/Info.plist", "<plist><dict/></plist>");
        }
        watchingtest::RealMainLoop loop;
        auto reports = std::make_shared<Reports>();
        reports->trash = trash;
        auto watcher = AppsInTrashWatcher::create(reports, trash);

        makeBundle(dir, "New.app");
        std::rename((dir / "New.app").c_str(), (folder + "/New.app").c_str());
        ASSERT_TRUE(loop->runUntil([&] { return !reports->got.empty(); }, 6s));
        ASSERT_EQ(reports->got.size(), 1u);  // the whole rescan has run
        EXPECT_EQ(reports->got[0].first, "New.app");
    }
}

}  // namespace
