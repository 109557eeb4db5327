#include "watching/AppsInTrashWatcher.h"

#include <unistd.h>

#include <algorithm>

#include "dispatch/MainQueue.h"
#include "environment/ApplicationDirectoryUtils.h"
#include "environment/PathsGenerator.h"
#include "environment/StringUtils.h"
#include "platform/FileSystem.h"
#include "platform/Log.h"
#include "platform/PathUtils.h"
#include "watching/BundleExcludeList.h"

std::shared_ptr<AppsInTrashWatcher> AppsInTrashWatcher::create(
    std::weak_ptr<AppsInTrashWatcherListener> listener) {
    return create(std::move(listener),
                  TrashFoldersWatcher::create(PathsGenerator::GetInstance(), ::getuid()));
}

std::shared_ptr<AppsInTrashWatcher> AppsInTrashWatcher::create(
    std::weak_ptr<AppsInTrashWatcherListener> listener, std::string trashPath) {
    auto watcher = std::make_shared<AppsInTrashWatcher>(Private{}, std::move(listener));
    watcher->watchFolders({{TrashFolder::Kind::Home, std::move(trashPath), {}, {}, {}}});
    return watcher;
}

std::shared_ptr<AppsInTrashWatcher> AppsInTrashWatcher::create(
    std::weak_ptr<AppsInTrashWatcherListener> listener,
    std::shared_ptr<TrashFoldersWatcher> folders) {
    auto watcher = std::make_shared<AppsInTrashWatcher>(Private{}, std::move(listener));
    watcher->m_pFoldersWatcher = std::move(folders);
    watcher->m_pFoldersWatcher->setDelegate(watcher);
    watcher->watchFolders(watcher->m_pFoldersWatcher->folders());
    return watcher;
}

AppsInTrashWatcher::AppsInTrashWatcher(Private, std::weak_ptr<AppsInTrashWatcherListener> listener)
    : m_pListener(std::move(listener)),
      // A change above a missing Trash folder.
      m_absentWatches([this](const std::string&, std::uint32_t) { scheduleAbsentLook(); }) {}

std::shared_ptr<DirectoryWatcher> AppsInTrashWatcher::getTrashWatcher() const {
    return m_arrFolders.empty() ? nullptr : watcherOf(m_arrFolders.front().path);
}

std::shared_ptr<DirectoryWatcher> AppsInTrashWatcher::watcherOf(const std::string& folder) const {
    const auto found = m_arrWatchers.find(folder);
    return found == m_arrWatchers.end() ? nullptr : found->second;
}

void AppsInTrashWatcher::trashFoldersChanged(const std::vector<TrashFolder>& folders,
                                             const std::vector<std::string>& made) {
    watchFolders(folders, made);
}

// One watcher per folder; a folder that stays keeps its watcher (and so what
// it already knows), one that leaves the set is dropped without a word.
void AppsInTrashWatcher::watchFolders(const std::vector<TrashFolder>& folders,
                                      const std::vector<std::string>& made) {
    std::map<std::string, std::shared_ptr<DirectoryWatcher>> watchers;
    std::vector<TrashFolder> absent;
    for (const auto& folder : folders) {
        if (auto kept = watcherOf(folder.path)) {
            watchers[folder.path] = std::move(kept);
            continue;
        }
        auto watcher = watch(folder);
        if (!watcher) {
            absent.push_back(folder);
            continue;
        }
        // Whatever a Trash made just now holds was trashed just now: once it
        // has settled it is searched like a folder dropped into the Trash.
        if (std::find(made.begin(), made.end(), folder.path) != made.end()) {
            dispatch::MainQueue::main().after(DirectoryWatcher::kUpdateDelay,
                                              [weak = std::weak_ptr(watcher), path = folder.path] {
                                                  if (auto madeWatcher = weak.lock())
                                                      madeWatcher->checkFolderForAppsWithPath(path);
                                              });
        }
        watchers[folder.path] = std::move(watcher);
    }
    for (const auto& [path, watcher] : m_arrWatchers) {
        if (!watchers.count(path)) {
            platform::Log::warning(
                "watching",
                "no longer watching " + path + ": its disk is gone or its Trash no longer usable");
        }
    }
    m_arrWatchers = std::move(watchers);
    m_arrFolders = folders;
    m_arrAbsent = std::move(absent);
    watchForAbsentFolders();
}

// The watcher of one folder, or null for a home Trash folder that is not
// there (yet). The desktop Trash is made by the first item trashed; made now,
// it can be watched from the start, as trashing programs would make it.
std::shared_ptr<DirectoryWatcher> AppsInTrashWatcher::watch(const TrashFolder& folder) {
    if (folder.kind == TrashFolder::Kind::Desktop) {
        platform::makePrivateFolders(folder.path);
        platform::makePrivateFolders(folder.trashDirectory + "/info");
    }
    if (folder.kind != TrashFolder::Kind::Volume && !platform::leadsToFolder(folder.path)) {
        return nullptr;
    }
    // A disk's Trash is read only while it is the folder that passed the
    // trust check, whatever is renamed or linked in above it later.
    auto watcher =
        DirectoryWatcher::create(folder.path, platform::DirectoryReader::through(folder.checked),
                                 [] { return FileEventQueue::create(); });
    watcher->setDelegate(weak_from_this());
    if (folder.hasTrashInfo()) {
        watcher->setNameOfItem([weak = weak_from_this()](const std::string& path) {
            const auto self = weak.lock();
            return self ? TrashFolders::nameBeforeTrashing(self->m_arrFolders, path)
                        : platform::PathUtils::lastPathComponent(path);
        });
    }
    // Without kernel events nothing new in this folder is ever seen; the
    // agent goes on with its other work.
    if (!watcher->isWatching()) {
        platform::Log::warning("watching", folder.path + " is not watched: no file event queue");
    } else {
        platform::Log::debug("watching", "watching the Trash folder " + folder.path);
        // Some programs write the trash info after the item: its arrival
        // pushes the folder's re-read back like any change of the folder.
        if (folder.hasTrashInfo()) {
            watcher->getFileEventQueue()->addPath(folder.trashDirectory + "/info");
        }
        // A disk's Trash renamed away or removed whole takes its "files" along.
        if (folder.kind == TrashFolder::Kind::Volume) watcher->goneWith(folder.trashDirectory);
    }
    // The kernel watches what the paths led to when they were added: that
    // must have been the folder that was checked.
    if (!folder.isStillInPlace()) {
        platform::Log::warning("watching", "not watching " + folder.path +
                                               ": its Trash folder is no longer the one that "
                                               "was checked");
        if (m_pFoldersWatcher) m_pFoldersWatcher->reread();
        return nullptr;
    }
    return watcher;
}

void AppsInTrashWatcher::onWatchedFolderGone(const std::string& path) {
    const auto folder = std::find_if(m_arrFolders.begin(), m_arrFolders.end(),
                                     [&](const TrashFolder& f) { return f.path == path; });
    if (folder == m_arrFolders.end()) return;
    if (folder->kind == TrashFolder::Kind::Volume) {
        // The set drops it (and says so), and watches its disk for a Trash
        // made again; one still there is watched anew.
        if (m_pFoldersWatcher) m_pFoldersWatcher->reread();
        if (const auto stopped = watcherOf(path); stopped && !stopped->isWatching()) {
            m_arrWatchers.erase(path);
            watchFolders(m_arrFolders);
        }
        return;
    }
    m_arrWatchers.erase(path);
    platform::Log::warning("watching",
                        "the Trash folder " + path + " is gone; watching for it to be made again");
    m_arrAbsent.push_back(*folder);
    watchForAbsentFolders();
    scheduleAbsentLook();  // the settling starts now
}

void AppsInTrashWatcher::watchForAbsentFolders() {
    m_absentWatches.clear();
    if (m_arrAbsent.empty()) {
        m_absentLook.cancel();
        return;
    }
    for (const auto& folder : m_arrAbsent) {
        std::string above = platform::PathUtils::stringByDeletingLastPathComponent(folder.path);
        while (above.size() > 1 && !platform::leadsToFolder(above)) {
            above = platform::PathUtils::stringByDeletingLastPathComponent(above);
        }
        m_absentWatches.add(above, platform::kNoteWrite);
    }
}

void AppsInTrashWatcher::scheduleAbsentLook() {
    m_absentLook.cancel();
    m_absentLook =
        dispatch::MainQueue::main().after(kAbsentSettleDelay, [weak = weak_from_this()] {
            if (auto self = weak.lock()) self->lookForAbsentFolders();
        });
}

void AppsInTrashWatcher::lookForAbsentFolders() {
    std::vector<TrashFolder> still;
    for (const auto& folder : m_arrAbsent) {
        if (auto watcher = watch(folder)) {
            m_arrWatchers[folder.path] = std::move(watcher);
        } else {
            still.push_back(folder);
        }
    }
    m_arrAbsent = std::move(still);
    watchForAbsentFolders();
}

std::optional<std::string> AppsInTrashWatcher::pathInOwnTrash(const std::string& path) const {
    const TrashFolder* folder = TrashFolders::folderHolding(m_arrFolders, path);
    if (!folder || folder->kind == TrashFolder::Kind::Volume) return std::nullopt;
    return path.substr(folder->path.size() + 1);
}

void AppsInTrashWatcher::onAddedAppWithPath(const std::string& path) {
    if (handOnIfWhole(path)) return;
    // Named like an application but not loadable yet: it may still be on its way in.
    if (!m_pIncomplete) {
        m_pIncomplete = IncompleteArrivals::create(
            [weak = std::weak_ptr<AppsInTrashWatcher>(weak_from_this())](const std::string& at) {
                const auto self = weak.lock();
                return !self || self->handOnIfWhole(at);
            });
    }
    m_pIncomplete->add(path);
}

bool AppsInTrashWatcher::handOnIfWhole(const std::string& path) {
    // A disk's Trash that is no longer where it was checked is not read by
    // its path: what is there now may be anyone's. The set is read again.
    // A folder that has left the set meanwhile is not read either.
    const TrashFolder* folder = TrashFolders::folderHolding(m_arrFolders, path);
    if (!folder) return true;
    if (!folder->isStillInPlace()) {
        platform::Log::warning("watching", "not looking at " + path + ": its Trash folder " +
                                               folder->trashDirectory +
                                               " is no longer the one that was checked");
        if (m_pFoldersWatcher) m_pFoldersWatcher->reread();
        return true;
    }
    const std::string name = TrashFolders::nameBeforeTrashing(m_arrFolders, path);
    if (!ApplicationDirectoryUtils::isApplicationAtPath(path, name)) return true;  // never will be
    auto bundle = platform::Bundle::bundleWithPath(path);
    if (!bundle || !bundle->bundleIdentifier()) return false;
    if (auto genuine = isReallyAppBundlePath(path, name)) {
        genuine->setNameBeforeTrashing(name);
        platform::Log::debug("watching", "application arrived: " + path);
        if (auto listener = m_pListener.lock()) listener->onAppMovedToTrash(genuine);
    }
    return true;
}

std::shared_ptr<platform::Bundle> AppsInTrashWatcher::isReallyAppBundlePath(
    const std::string& path, const std::optional<std::string>& name) {
    if (!ApplicationDirectoryUtils::isApplicationAtPath(
            path, name.value_or(platform::PathUtils::lastPathComponent(path)))) {
        return nullptr;
    }
    if (ApplicationDirectoryUtils::parentBundlePathForPath(path)) return nullptr;
    auto bundle = platform::Bundle::bundleWithPath(path);
    if (!bundle) return nullptr;
    const auto identifier = bundle->bundleIdentifier();
    if (!identifier) return nullptr;
    // The product's own bundles are never offered for clean-up.
    if (BundleExcludeList::GetInstance().isSystemBundleID(identifier, false)) return nullptr;
    return bundle;
}
