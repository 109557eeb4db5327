#include <gtest/gtest.h>

#include <cstdio>
#include <map>

#include "dispatch/ManualMainQueue.h"
#include "environment/PathsGenerator.h"
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

    struct Item {
        std::string stored;
        std::optional<std::string> info;  // the trash info's Path line
        bool bundle = true;
    };
    const std::vector<Item> items = {
        {"Notes.2.app", "Path=/home/u/Downloads/Notes.app"},  // GLib
        {"Notes.app (1)", "Path=/home/u/Apps/Notes.app"},     // KDE
        {"Notes.app_1", "Path=/home/u/Notes.app"},            // trash-cli
        {"Notes.app-0001", "Path=/home/u/My%20Notes.app"},    // Qt
        {"Plain.app", std::nullopt},                          // no info: its own name
        {"Renamed (1)", std::nullopt},                        // no info, no app name
        {"Doc.app", "Path=/home/u/Doc.txt"},                  // was no application
        {"Bad.app (1)", "Path=/home/u/Bad.app%zz"},           // unreadable info
        {"Late.app (1)", "Path=/home/u/Late.app", false},     // Info.plist comes later
    };
    for (std::size_t i = 0; i < items.size(); ++i) {
        const auto& item = items[i];
        const std::string folder = "files/" + item.stored;
        if (item.bundle) {
            testsupport::makeBundle(
                home, ".local/share/Trash/" + folder,
                {{"CFBundleIdentifier", "com.example.app" + std::to_string(i)}});
        } else {
            home.makeDir(".local/share/Trash/" + folder);
        }
        if (item.info) {
            home.writeFile(".local/share/Trash/info/" + item.stored + ".trashinfo",
                           "[Trash Info]\n" + *item.info + "\nDeletionDate=2026-11-24T10:00:00\n");
        }
    }
    desktop->contentsChanged();
    queue->advance(DirectoryWatcher::kUpdateDelay + 10ms);
    const std::map<std::string, std::string> expected = {
        {"Notes.2.app", "Notes.app"}, {"Notes.app (1)", "Notes.app"},
        {"Notes.app_1", "Notes.app"}, {"Notes.app-0001", "My Notes.app"},
        {"Plain.app", "Plain.app"},
    };
    EXPECT_EQ(reports->got, expected);

    // The late one is waited for, and handed on once whole.
    testsupport::makeBundle(home, ".local/share/Trash/files/Late.app (1)",
                            {{"CFBundleIdentifier", "com.example.late"}});
    queue->advance(IncompleteArrivals::kGiveUpAfter);
    EXPECT_EQ(reports->got.count("Late.app (1)"), 1U);
    EXPECT_EQ(reports->got["Late.app (1)"], "Late.app");
    EXPECT_EQ(watcher->pathInOwnTrash(files + "/Notes.2.app"), "Notes.2.app");
    EXPECT_EQ(watcher->pathInOwnTrash(trash + "/info/x"), std::nullopt);
}

}  // namespace
