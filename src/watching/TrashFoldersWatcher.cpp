#include "watching/TrashFoldersWatcher.h"

#include <algorithm>

#include "dispatch/MainQueue.h"
#include "platform/Log.h"

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
      m_topWatches([this](const std::string& path, std::uint32_t) { topFolderChanged(path); }) {}

TrashFoldersWatcher::~TrashFoldersWatcher() {
    m_rereadRequest.cancel();
    platform::FileWatcher::shared().unwatch(m_nMountTableWatch);
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

void TrashFoldersWatcher::topFolderChanged(const std::string& path) {
    const auto watch = m_arrTopWatches.find(path);
    if (watch == m_arrTopWatches.end() || m_arrResting.count(path) != 0) return;
    // One look soon; then no event of this folder reaches the agent until
    // its rest ends, however busy anyone keeps it.
    m_topWatches.remove(path);
    m_arrResting.insert(path);
    auto& main = dispatch::MainQueue::main();
    main.after(kRereadDelay, [weak = weak_from_this(), top = watch->second] {
        if (auto self = weak.lock()) self->lookForTrashOf(top);
    });
    main.after(kTopRest, [weak = weak_from_this(), path] {
        if (auto self = weak.lock()) self->endRest(path);
    });
}

void TrashFoldersWatcher::lookForTrashOf(const std::string& top) {
    if (platform::MountTable::trashFolderOfMount(top, m_nUid)) scheduleReread();
}

// Watched again first, then looked at: nothing made during the rest is missed.
void TrashFoldersWatcher::endRest(const std::string& path) {
    m_arrResting.erase(path);
    const auto watch = m_arrTopWatches.find(path);
    if (watch == m_arrTopWatches.end()) return;
    m_topWatches.add(path, platform::kNoteWrite);
    lookForTrashOf(watch->second);
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
    std::map<std::string, std::string> wanted;
    for (const auto& mount : mounts) {
        const bool watched = std::any_of(m_arrFolders.begin(), m_arrFolders.end(), [&](auto& f) {
            return f.kind == TrashFolder::Kind::Volume && f.topDirectory == mount.path;
        });
        if (watched) continue;
        wanted.emplace(mount.path, mount.path);
        // A Trash made without its "files" yet gets it next.
        if (const auto trash = platform::MountTable::trashFolderOfMount(mount.path, m_nUid)) {
            wanted.emplace(*trash, mount.path);
        }
    }
    for (const auto& [path, top] : m_arrTopWatches) {
        if (!wanted.count(path)) m_topWatches.remove(path);
    }
    for (const auto& [path, top] : wanted) {
        if (!m_arrTopWatches.count(path)) {
            platform::Log::debug("watching", "watching the top folder " + path +
                                                 " for a Trash of the user to be made");
        }
        if (!m_arrResting.count(path)) m_topWatches.add(path, platform::kNoteWrite);
    }
    m_arrTopWatches = std::move(wanted);
}

void TrashFoldersWatcher::startFollowingMounts() {
    m_nMountTableWatch = platform::FileWatcher::shared().watchMountTable([weak = weak_from_this()] {
        if (auto self = weak.lock()) self->scheduleReread();
    });
}
