#include <gtest/gtest.h>

#include <cstdio>
#include <map>

#include "dispatch/ManualMainQueue.h"
#include "environment/PathsGenerator.h"
#include "support/DataTable.h"
#include "support/SampleBundle.h"
#include "watching/AppsInTrashWatcher.h"
#include "watching/WatchingTestSupport.h"

using namespace std::chrono_literals;

namespace {

struct Reports : AppsInTrashWatcherListener {
    std::map<std::string, std::string> got;  // stored name -> name before trashing
    void onAppMovedToTrash(const std::shared_ptr<platform::Bundle>& bundle) override {
        got.emplace(bundle->path().substr(bundle->path().rfind('/') + 1),
                    bundle->nameBeforeTrashing());
    }
};

// Each trashing program renames a clash its own way; the trash info keeps the
// name the item had, and that is the name it is judged and shown by.
TEST(DesktopTrash, ItemsAreJudgedByTheNameTheyHadBeforeTrashing) {
    auto queue = std::make_shared<dispatch::ManualMainQueue>();
    dispatch::ScopedMainQueue scoped{queue};
    testsupport::TempDir home;
    const std::string trash = home.makeDir(".local/share/Trash");
    home.makeDir(".local/share/Trash/info");
    const std::string files = home.makeDir(".local/share/Trash/files");
    auto folders =
        TrashFoldersWatcher::create(PathsGenerator("u", home.path(), home / ".local/share"), 1000,
                                    false, [] { return std::vector<platform::MountPoint>{}; });
    auto reports = std::make_shared<Reports>();
    auto watcher = AppsInTrashWatcher::create(reports, folders);
    auto desktop = watcher->watcherOf(files);
    ASSERT_TRUE(desktop);
    desktop->stopWatching();

    std::map<std::string, std::string> expected, late;
    const auto items = testsupport::readDataTable("DesktopTrash/items.tsv");
    for (std::size_t i = 0; i < items.size(); ++i) {
        const auto& row = items[i];
        const std::string stored = ".local/share/Trash/files/" + row.at(0);
        if (row.at(2) == "bundle") {
            testsupport::makeBundle(
                home, stored, {{"CFBundleIdentifier", "com.example.app" + std::to_string(i)}});
        } else {
            home.makeDir(stored);
        }
        if (row.at(1) != "<none>") {
            home.writeFile(".local/share/Trash/info/" + row.at(0) + ".trashinfo",
                           "[Trash Info]\n" + row.at(1) + "\nDeletionDate=2026-11-24T10:00:00\n");
        }
        if (row.at(3) != "<none>") (row.at(2) == "late" ? late : expected)[row.at(0)] = row.at(3);
    }
    desktop->contentsChanged();
    queue->advance(DirectoryWatcher::kUpdateDelay + 10ms);
    EXPECT_EQ(reports->got, expected);

    // The late ones are waited for, and handed on once whole.
    for (const auto& item : late) {
        testsupport::makeBundle(home, ".local/share/Trash/files/" + item.first,
                                {{"CFBundleIdentifier", "com.example.late"}});
    }
    queue->advance(IncompleteArrivals::kGiveUpAfter);
    expected.merge(late);
    EXPECT_EQ(reports->got, expected);
    EXPECT_EQ(watcher->pathInOwnTrash(files + "/Notes.2.app"), "Notes.2.app");
    EXPECT_EQ(watcher->pathInOwnTrash(trash + "/info/x"), std::nullopt);
}

// Another user who could rename a disk's Trash away and put a link to a tree
// of their own in its place (after the user trashed something there) gets
// nothing of that tree read: the Trash is read only while it is the folder
// that was checked, and its going away drops it from the set at once.
TEST(DesktopTrash, ADiskTrashSwappedForALinkIsNeverReadThroughIt) {
    watchingtest::RealMainLoop loop;
    testsupport::TempDir place;
    const std::string name = "disk/.Trash-" + std::to_string(::getuid());
    const std::string trash = place / name;
    ::chmod(place.makeDir(name + "/files").c_str(), 0700);
    place.makeDir(name + "/info");
    ::chmod(trash.c_str(), 0700);
    const std::vector<platform::MountPoint> disk = {{place / "disk", "ext4"}};
    auto folders = TrashFoldersWatcher::create(PathsGenerator("u", place / "home"), ::getuid(),
                                               false, [&] { return disk; });
    auto reports = std::make_shared<Reports>();
    auto watcher = AppsInTrashWatcher::create(reports, folders);
    auto watched = watcher->watcherOf(trash + "/files");
    ASSERT_TRUE(watched);

    // The user trashes Notes; at once the Trash is renamed away and a link
    // to a lure with the same name and more takes its place.
    testsupport::makeBundle(place, name + "/files/Notes.app",
                            {{"CFBundleIdentifier", "com.example.Notes"}});
    for (const char* app : {"lure/files/Notes.app", "lure/files/Lure.app"}) {
        testsupport::makeBundle(place, app, {{"CFBundleIdentifier", "com.victim.Precious"}});
    }
    place.makeDir("lure/info");
    ASSERT_EQ(std::rename(trash.c_str(), (place / "disk/moved").c_str()), 0);
    place.makeSymlink(name, place / "lure");
    EXPECT_TRUE(loop->runUntil([&] { return !watcher->watcherOf(trash + "/files"); },
                               testsupport::kPatience))
        << "a Trash that is a link now is dropped";
    watched->updateDirContent();  // a re-read that was on its way
    loop->runUntil([] { return false; }, std::chrono::milliseconds(100));

    EXPECT_FALSE(watched->getFileItemWithPath(trash + "/files/Lure.app")) << "the link's tree";
    EXPECT_TRUE(reports->got.empty());
}

}  // namespace
