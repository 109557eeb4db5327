#include "watching/TrashFoldersWatcher.h"

#include <algorithm>
#include <thread>

#include "dispatch/MainQueue.h"

std::shared_ptr<TrashFoldersWatcher> TrashFoldersWatcher::create(PathsGenerator paths, uid_t uid,
                                                                 bool watchMounts,
                                                                 MountsSource mounts) {
    auto watcher =
        std::make_shared<TrashFoldersWatcher>(Private{}, std::move(paths), uid, std::move(mounts));
    watcher->reread();
    if (watchMounts) watcher->startFollowingMounts();
    return watcher;
}

TrashFoldersWatcher::TrashFoldersWatcher(Private, PathsGenerator paths, uid_t uid,
                                         MountsSource mounts)
    : m_paths(std::move(paths)),
      m_nUid(uid),
      m_fnMounts(std::move(mounts)),
      m_pKeepFollowing(std::make_shared<std::atomic<bool>>(true)) {}

TrashFoldersWatcher::~TrashFoldersWatcher() {
    m_rereadRequest.cancel();
    m_pKeepFollowing->store(false);
    if (m_pMountChanges) m_pMountChanges->interrupt();
}

void TrashFoldersWatcher::reread() {
    const auto mounts = m_fnMounts();
    auto folders = TrashFolders::all(m_paths, mounts, m_nUid);
    // A disk's Trash that is new on a disk already known was made by the
    // first item trashed there since: that item is news. A disk plugged in
    // brings its Trash with old items only.
    std::vector<std::string> made;
    for (const auto& folder : folders) {
        const auto known = [&](const std::string& path) {
            return std::find(m_arrMountPaths.begin(), m_arrMountPaths.end(), path) !=
                   m_arrMountPaths.end();
        };
        const bool isNew =
            std::find(m_arrFolders.begin(), m_arrFolders.end(), folder) == m_arrFolders.end();
        if (folder.kind == TrashFolder::Kind::Volume && isNew && known(folder.topDirectory)) {
            made.push_back(folder.path);
        }
    }
    const bool changed = folders != m_arrFolders;
    m_arrFolders = std::move(folders);
    m_arrMountPaths.clear();
    for (const auto& mount : mounts) m_arrMountPaths.push_back(mount.path);
    watchTopsWithoutTrash(mounts);
    if (!changed) return;
    if (auto delegate = m_pDelegate.lock()) delegate->trashFoldersChanged(m_arrFolders, made);
}

void TrashFoldersWatcher::receivedNotification(FileEventQueue&, const std::string&,
                                               const std::string&) {
    scheduleReread();
}

void TrashFoldersWatcher::scheduleReread() {
    if (m_rereadRequest.isValid() && !m_rereadRequest.isCancelled()) return;
    m_rereadRequest = dispatch::MainQueue::main().after(kRereadDelay, [weak = weak_from_this()] {
        if (auto self = weak.lock()) {
            self->m_rereadRequest = {};
            self->reread();
        }
    });
}

// The first item trashed on a disk makes its Trash: the top folder of every
// disk without one is watched for that.
void TrashFoldersWatcher::watchTopsWithoutTrash(const std::vector<platform::MountPoint>& mounts) {
    if (!m_pTopsQueue) {
        m_pTopsQueue = FileEventQueue::create();
        if (!m_pTopsQueue) return;
        m_pTopsQueue->setDelegate(weak_from_this());
    }
    m_pTopsQueue->removeAllPaths();
    for (const auto& mount : mounts) {
        const bool watched = std::any_of(m_arrFolders.begin(), m_arrFolders.end(), [&](auto& f) {
            return f.kind == TrashFolder::Kind::Volume && f.topDirectory == mount.path;
        });
        if (watched) continue;
        m_pTopsQueue->addPath(mount.path, platform::kNoteWrite);
        // A Trash made without its "files" yet gets it next.
        if (const auto trash = platform::MountTable::trashFolderOfMount(mount.path, m_nUid)) {
            m_pTopsQueue->addPath(*trash, platform::kNoteWrite);
        }
    }
}

void TrashFoldersWatcher::startFollowingMounts() {
    m_pMountChanges = platform::MountTableChanges::create();
    if (!m_pMountChanges) return;
    std::thread([changes = m_pMountChanges, keep = m_pKeepFollowing, weak = weak_from_this()] {
        while (keep->load()) {
            if (!changes->wait(std::chrono::seconds(1))) continue;
            dispatch::MainQueue::main().async([weak] {
                if (auto self = weak.lock()) self->scheduleReread();
            });
        }
    }).detach();
}
