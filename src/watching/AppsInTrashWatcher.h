#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "environment/TrashFolders.h"
#include "platform/Bundle.h"
#include "watching/DirectoryWatcher.h"
#include "watching/IncompleteArrivals.h"
#include "watching/TrashFoldersWatcher.h"

class AppsInTrashWatcherListener {
public:
    virtual ~AppsInTrashWatcherListener() = default;
    // A genuine application bundle arrived in the Trash (main thread). The
    // same bundle can be reported more than once.
    virtual void onAppMovedToTrash(const std::shared_ptr<platform::Bundle>& bundle) = 0;
};

// Watches the Trash folders and hands each genuine application bundle that
// arrives in one of them to the listener: stand-alone, loadable, with an
// identifier, and not one of the product's own. An item of a desktop Trash is
// judged by the name it had before it was trashed (its trash info says it),
// so "Notes.app (1)" is an application when it was "Notes.app". A bundle that
// is not whole yet when its folder settles is waited for (IncompleteArrivals).
// A Trash folder of the home that is missing or goes away (a cleaning tool
// removes it whole) is watched for through the nearest folder above it, up to
// the home, and watched again as at the start once it is there: the desktop
// Trash is made again by the agent itself once the removal has settled, as at
// the start; what a folder holds when it is found is taken as present.
// Main-thread only.
class AppsInTrashWatcher final : public DirectoryWatcherDelegate,
                                 public TrashFoldersWatcherDelegate,
                                 public std::enable_shared_from_this<AppsInTrashWatcher> {
    struct Private {};

public:
    // Watches every Trash folder of the user, following disks as they come
    // and go.
    static std::shared_ptr<AppsInTrashWatcher> create(
        std::weak_ptr<AppsInTrashWatcherListener> listener);
    // Watches the given folder as the user's ~/.Trash.
    static std::shared_ptr<AppsInTrashWatcher> create(
        std::weak_ptr<AppsInTrashWatcherListener> listener, std::string trashPath);
    // Watches the folders that `folders` keeps current.
    static std::shared_ptr<AppsInTrashWatcher> create(
        std::weak_ptr<AppsInTrashWatcherListener> listener,
        std::shared_ptr<TrashFoldersWatcher> folders);
    AppsInTrashWatcher(Private, std::weak_ptr<AppsInTrashWatcherListener> listener);

    // The watcher of the first folder (~/.Trash when it is watched).
    std::shared_ptr<DirectoryWatcher> getTrashWatcher() const;
    // The watcher of one folder, or null.
    std::shared_ptr<DirectoryWatcher> watcherOf(const std::string& folder) const;
    const std::vector<TrashFolder>& folders() const { return m_arrFolders; }

    // Where the path lies in one of the user's own Trash folders (~/.Trash,
    // the home desktop Trash): the rest of the path after that folder. nullopt
    // for a path elsewhere, a disk's Trash included.
    std::optional<std::string> pathInOwnTrash(const std::string& path) const;

    // How long the folder above a missing Trash folder must be still before
    // the agent looks again (a removal of a large Trash takes a while).
    static constexpr std::chrono::milliseconds kAbsentSettleDelay{1000};

    void onAddedAppWithPath(const std::string& path) override;
    void onWatchedFolderGone(const std::string& path) override;
    void trashFoldersChanged(const std::vector<TrashFolder>& folders,
                             const std::vector<std::string>& made) override;

    // The bundle at the path if it is a genuine application that is not one of
    // the product's own; null otherwise. `name` is the name to judge it by
    // (its own when not given).
    static std::shared_ptr<platform::Bundle> isReallyAppBundlePath(
        const std::string& path, const std::optional<std::string>& name = std::nullopt);

private:
    void watchFolders(const std::vector<TrashFolder>& folders,
                      const std::vector<std::string>& made = {});
    // Hands the bundle on when it is whole; false when it is not yet.
    bool handOnIfWhole(const std::string& path);
    std::shared_ptr<DirectoryWatcher> watch(const TrashFolder& folder);
    // Watches the nearest folder above each missing home Trash folder.
    void watchForAbsentFolders();
    void scheduleAbsentLook();
    void lookForAbsentFolders();

    std::weak_ptr<AppsInTrashWatcherListener> m_pListener;
    std::shared_ptr<TrashFoldersWatcher> m_pFoldersWatcher;
    std::vector<TrashFolder> m_arrFolders;
    std::map<std::string, std::shared_ptr<DirectoryWatcher>> m_arrWatchers;
    std::shared_ptr<IncompleteArrivals> m_pIncomplete;
    // Home Trash folders that are missing, and what is watched for them.
    std::vector<TrashFolder> m_arrAbsent;
    platform::FileWatches m_absentWatches;
    dispatch::TimerHandle m_absentLook;
};
