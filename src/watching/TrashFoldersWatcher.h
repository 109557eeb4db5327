#pragma once

#include <sys/types.h>

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <vector>

#include "dispatch/TimerHandle.h"
#include "environment/PathsGenerator.h"
#include "environment/TrashFolders.h"
#include "platform/FileWatcher.h"
#include "platform/MountTable.h"

class TrashFoldersWatcherDelegate {
public:
    virtual ~TrashFoldersWatcherDelegate() = default;
    // The set of Trash folders changed; `folders` is the whole new set, and
    // `made` names those of its folders that were made while their disk was
    // watched: everything in them arrived after the agent started (main
    // thread).
    virtual void trashFoldersChanged(const std::vector<TrashFolder>& folders,
                                     const std::vector<std::string>& made) = 0;
};

// Keeps the set of Trash folders current while disks come and go: the set is
// read again when the mount table changes, and when the top folder of a disk
// that has no Trash of the user yet gains one (the first item trashed there
// makes it). Such a top folder may be anyone's busy folder (/tmp): a change
// there costs one look for the user's Trash, and the folder then rests
// unwatched for kTopRest before it is watched and looked at again. Everything
// is heard of through the process's one watcher. Main-thread only.
class TrashFoldersWatcher final : public std::enable_shared_from_this<TrashFoldersWatcher> {
    struct Private {};

public:
    using MountsSource = std::function<std::vector<platform::MountPoint>()>;

    // How long after a change the set is read again, so that a burst of
    // changes (a disk's partitions mounted one by one) costs one read.
    static constexpr std::chrono::milliseconds kRereadDelay{250};
    // How long a top folder that changed goes unwatched.
    static constexpr std::chrono::milliseconds kTopRest{3000};

    // Reads the set now; `watchMounts` starts following the mount table.
    static std::shared_ptr<TrashFoldersWatcher> create(
        PathsGenerator paths, uid_t uid, bool watchMounts = true,
        MountsSource mounts = platform::MountTable::current);
    TrashFoldersWatcher(Private, PathsGenerator paths, uid_t uid, MountsSource mounts);
    ~TrashFoldersWatcher();

    void setDelegate(std::weak_ptr<TrashFoldersWatcherDelegate> delegate) {
        m_pDelegate = std::move(delegate);
    }
    const std::vector<TrashFolder>& folders() const { return m_arrFolders; }

    // Reads the set again now and tells the delegate when it changed.
    void reread();
    // A change of a watched top folder (or of a Trash that has no "files" yet).
    void topFolderChanged(const std::string& path);

private:
    void scheduleReread();
    void watchTopsWithoutTrash(const std::vector<platform::MountPoint>& mounts);
    // Reads the set again if the disk mounted at `top` has a Trash of the user now.
    void lookForTrashOf(const std::string& top);
    void endRest(const std::string& path);
    void startFollowingMounts();

    PathsGenerator m_paths;
    uid_t m_nUid;
    MountsSource m_fnMounts;
    std::vector<TrashFolder> m_arrFolders;
    std::vector<std::string> m_arrMountPaths;  // the disks of the last read
    std::weak_ptr<TrashFoldersWatcherDelegate> m_pDelegate;
    // What should be watched: a path and the top folder of its disk.
    std::map<std::string, std::string> m_arrTopWatches;
    std::set<std::string> m_arrResting;  // watches dropped until their rest ends
    dispatch::TimerHandle m_rereadRequest;
    platform::FileWatcher::WatchId m_nMountTableWatch = 0;
    platform::FileWatches m_topWatches;  // what is watched now
};
