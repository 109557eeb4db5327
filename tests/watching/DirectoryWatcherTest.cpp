#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <map>
#include <vector>

#include "dispatch/ManualMainQueue.h"
#include "platform/PathUtils.h"
#include "support/SampleBundle.h"
#include "watching/AppsInTrashWatcher.h"
#include "watching/DirectoryWatcher.h"
#include "watching/WatchingTestSupport.h"

using namespace std::chrono_literals;
using testsupport::TempDir;

namespace {

using Reported = std::multimap<std::string, dispatch::Duration>;

struct Reports : AppsInTrashWatcherListener {
    std::string trash;
    Reported got;  // (path in the Trash, when)
    dispatch::TimePoint start = dispatch::MainQueue::main().now();
    void onAppMovedToTrash(const std::shared_ptr<platform::Bundle>& bundle) override {
        got.emplace(bundle->path().substr(trash.size() + 1),
                    dispatch::MainQueue::main().now() - start);
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
};

// Only new, genuine, foreign applications are reported, all in the one
// rescan 2 s after the last of a burst of events.
TEST_F(TrashInVirtualTime, BurstOfEventsGivesOneRescanTwoSecondsAfterTheLast) {
    testsupport::makeBundle(dir, "Trash/Old.app");
    testsupport::makeBundle(dir, "Trash/Kept.app");
    start();
    std::filesystem::remove_all(trash + "/Old.app");
    testsupport::makeBundle(dir, "Good.app");
    testsupport::makeBundle(dir, "NoId.app", {{"CFBundleName", "App"}});
    testsupport::makeBundle(dir, "Own.app",
                            {{"CFBundleIdentifier", "COM.quorvex.Sweepwell-Plus-Helper"}});
    testsupport::makeBundle(dir, "Main.app",
                            {{"CFBundleIdentifier", "com.quorvex.Sweepwell-Plus"}});
    testsupport::makeBundle(dir, "Outer.app", {{"CFBundleIdentifier", "com.example.outer"}});
    testsupport::makeBundle(dir, "Outer.app/Contents/Inner.app",
                            {{"CFBundleIdentifier", "com.example.inner"}});
    dir.writeFile("File.app");
    for (const char* name :
         {"Good.app", "NoId.app", "Own.app", "Main.app", "Outer.app", "File.app"})
        trashIt(name);
    for (int i = 0; i < 7; ++i) {  // t = 0, 1.5, ..., 9.0 s
        changed();
        queue->advance(1500ms);
    }
    queue->advance(400ms);
    EXPECT_TRUE(reports->got.empty());
    queue->advance(100ms);
    EXPECT_EQ(reports->got, (Reported{{"Good.app", 11s}, {"Outer.app", 11s}}));
    queue->advance(30s);
    EXPECT_EQ(reports->got.size(), 2u);
}

TEST_F(TrashInVirtualTime, DroppedFolderIsReportedAtTheRescanAndByItsSearches) {
    start();
    testsupport::makeBundle(dir, "Apps/A.app");
    testsupport::makeBundle(dir, "Apps/Sub/B.app");
    dir.writeFile("Apps/readme.txt");
    trashIt("Apps");
    changed();
    queue->advance(2s);
    EXPECT_EQ(reports->got, (Reported{{"Apps/A.app", 2s}}));
    queue->advance(2s);  // both searches start
    ASSERT_TRUE(watchingtest::searchesEnded(*queue, *watcher->getTrashWatcher()));
    queue->advance(8s);
    EXPECT_EQ(reports->got, (Reported{
                                {"Apps/A.app", 2s},
                                {"Apps/A.app", 4s},
                                {"Apps/Sub/B.app", 4s},  // the search of Apps
                                {"Apps/Sub/B.app", 4s},  // the search of Apps/Sub
                            }));
}

// Paths the tree never offers but a caller might.
TEST(AppsInTrashWatcher, IsReallyAppBundlePathRejectsNestedAndBrokenBundles) {
    TempDir dir;
    testsupport::makeBundle(dir, "Outer.app");
    testsupport::makeBundle(dir, "Outer.app/Contents/Inner.app");
    testsupport::makeBundle(dir, "Pane.prefPane/Contents/Tool.app");
    dir.writeFile("Broken.app/Contents/Info.plist", "not a plist");
    EXPECT_TRUE(AppsInTrashWatcher::isReallyAppBundlePath(dir / "Outer.app"));
    for (const char* relative : {"Outer.app/Contents/Inner.app", "Pane.prefPane/Contents/Tool.app",
                                 "Broken.app", "Missing.app"}) {
        EXPECT_FALSE(AppsInTrashWatcher::isReallyAppBundlePath(dir / relative)) << relative;
    }
}

// The watched folder is what its path leads to, and never a package, whatever
// it holds: a real move into it is reported after the quiet period. (A plain
// Trash, and reporting once, are the virtual-time tests' and end-to-end cases'.)
TEST(AppsInTrashWatcher, ALinkedTrashOrOneHoldingInfoPlistIsWatched) {
    for (bool throughLink : {true, false}) {
        SCOPED_TRACE(throughLink ? "a link" : "a folder with Contents/Info.plist");
        TempDir dir;
        const std::string folder = dir.makeDir("Folder");
        testsupport::makeBundle(dir, "Folder/Old.app");
        const std::string trash = throughLink ? dir.makeSymlink("Trash", folder) : folder;
        if (!throughLink) dir.writeFile("Folder/Contents/Info.plist", "<plist><dict/></plist>");
        watchingtest::RealMainLoop loop;
        auto reports = std::make_shared<Reports>();
        reports->trash = trash;
        auto watcher = AppsInTrashWatcher::create(reports, trash);
        EXPECT_TRUE(watcher->getTrashWatcher()->isWatching());

        testsupport::makeBundle(dir, "New.app");
        const auto moved = loop->now();
        std::rename((dir / "New.app").c_str(), (folder + "/New.app").c_str());
        ASSERT_TRUE(loop->runUntil([&] { return !reports->got.empty(); }, testsupport::kPatience));
        EXPECT_GE(loop->now() - moved, DirectoryWatcher::kUpdateDelay);
        EXPECT_EQ(reports->got.begin()->first, "New.app");
    }
}

}  // namespace
