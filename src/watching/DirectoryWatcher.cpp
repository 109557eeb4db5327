#include "watching/DirectoryWatcher.h"

#include <algorithm>
#include <map>
#include <vector>

#include "dispatch/MainQueue.h"
#include "dispatch/SerialQueue.h"
#include "environment/ApplicationDirectoryUtils.h"
#include "platform/PathUtils.h"

std::shared_ptr<DirectoryWatcher> DirectoryWatcher::create(const std::string& path) {
    return create(path, platform::DirectoryReader::disk(), [] { return FileEventQueue::create(); });
}

std::shared_ptr<DirectoryWatcher> DirectoryWatcher::create(const std::string& path,
                                                           FileItem::Reader reader,
                                                           EventQueueFactory makeEventQueue) {
    auto watcher = std::make_shared<DirectoryWatcher>(Private{}, path, std::move(reader),
                                                      std::move(makeEventQueue));
    watcher->m_pPathTree = FileItem::createTreeForWatchedFolder(path, 1, watcher->m_pReader);
    // Listening only after the first load keeps what is already there unreported.
    if (watcher->m_pPathTree) watcher->m_pPathTree->setListener(watcher);
    watcher->startWatching();
    return watcher;
}

DirectoryWatcher::DirectoryWatcher(Private, std::string path, FileItem::Reader reader,
                                   EventQueueFactory makeEventQueue)
    : m_sPath(std::move(path)),
      m_pReader(std::move(reader)),
      m_fnMakeEventQueue(std::move(makeEventQueue)) {}

DirectoryWatcher::~DirectoryWatcher() {
    for (const auto& search : m_arrSearches) search->abandon();
}

bool DirectoryWatcher::startWatching() {
    m_pFileEventQueue = m_fnMakeEventQueue ? m_fnMakeEventQueue() : nullptr;
    m_bIsWatching = m_pFileEventQueue != nullptr;
    if (!m_bIsWatching) return false;
    m_pFileEventQueue->setDelegate(weak_from_this());
    m_pFileEventQueue->addPath(m_sPath);
    return true;
}

void DirectoryWatcher::goneWith(const std::string& folderAbove) {
    if (!m_pFileEventQueue) return;
    m_arrGoneWith.push_back(folderAbove);
    m_pFileEventQueue->addPath(folderAbove, platform::kNoteDelete | platform::kNoteRename |
                                                platform::kNoteRevoke);
}

void DirectoryWatcher::stopWatching() {
    m_pFileEventQueue.reset();
    m_bIsWatching = false;
}

std::shared_ptr<FileItem> DirectoryWatcher::getFileItemWithPath(const std::string& path) const {
    if (path == m_sPath) return m_pPathTree;
    if (path.size() <= m_sPath.size() + 1) return nullptr;
    std::shared_ptr<FileItem> node = m_pPathTree;
    const std::string rest = path.substr(m_sPath.size() + 1);
    for (std::size_t start = 0; node;) {
        const std::size_t slash = rest.find('/', start);
        const std::string name = rest.substr(start, slash - start);
        if (!node->getChildren()) return nullptr;
        node = node->getChildrenWithName(name);
        if (slash == std::string::npos) break;
        start = slash + 1;
    }
    return node;
}

void DirectoryWatcher::receivedNotification(FileEventQueue&, const std::string& name,
                                            const std::string& path) {
    if (!m_bIsWatching) return;  // the rest of an event that ended the watch
    const bool gone = name == FileEventQueueFileDeletedNotification ||
                      name == FileEventQueueFileRenamedNotification ||
                      name == FileEventQueueAccessWasRevokedNotification;
    if (gone && (path == m_sPath || std::find(m_arrGoneWith.begin(), m_arrGoneWith.end(),
                                              path) != m_arrGoneWith.end())) {
        // The kernel watches what the path led to, which is no longer it. The
        // delegate may let this watcher go while it is told.
        const auto self = shared_from_this();
        const std::string folder = m_sPath;
        m_updateRequest.cancel();
        stopWatching();
        if (auto delegate = m_pDelegate.lock()) delegate->onWatchedFolderGone(folder);
        return;
    }
    contentsChanged();
}

void DirectoryWatcher::contentsChanged() {
    m_updateRequest.cancel();
    // The pending request keeps the watcher alive until it runs.
    m_updateRequest = dispatch::MainQueue::main().after(
        kUpdateDelay, [self = shared_from_this()] { self->updateDirContent(); });
}

void DirectoryWatcher::updateDirContent() {
    if (auto root = getFileItemWithPath(m_sPath)) root->updateContentOfDir();
}

void DirectoryWatcher::onAddedFileItem(const std::shared_ptr<FileItem>& item,
                                       const std::shared_ptr<FileItem>&) {
    if (notifyIsFileItemIsApp(item)) return;
    if (!item->isDir()) return;
    // The same test once more, as the original flow does; it cannot answer
    // differently in between, but it is kept so that reports stay identical.
    if (notifyIsFileItemIsApp(item)) return;
    // Each added folder gets its own search; none is cancelled or merged.
    dispatch::MainQueue::main().after(kFolderSearchDelay,
                                      [self = shared_from_this(), path = item->buildFullPath()] {
                                          self->checkFolderForAppsWithPath(path);
                                      });
}

bool DirectoryWatcher::notifyIsFileItemIsApp(const std::shared_ptr<FileItem>& item) {
    if (!item || !item->isDir()) return false;
    const std::string path = item->buildFullPath();
    const std::string name =
        m_fnNameOf ? m_fnNameOf(path) : platform::PathUtils::lastPathComponent(path);
    if (!ApplicationDirectoryUtils::isApplicationAtPath(path, name) ||
        ApplicationDirectoryUtils::parentBundlePathForPath(path)) {
        return false;
    }
    notifyDelegateThatAddedAppWithPath(path);
    return true;
}

void DirectoryWatcher::notifyDelegateThatAddedAppWithPath(const std::string& path) {
    if (auto delegate = m_pDelegate.lock()) delegate->onAddedAppWithPath(path);
}

void DirectoryWatcher::checkFolderForAppsWithPath(const std::string& path) {
    FolderAppSearch::NameOf nameOf;
    // The items of the watched folder itself may be judged by other names
    // than they are stored under. Those names are read here, where the
    // name function may be called, and the search gets a copy.
    const FileItem::Children* items = m_pPathTree ? m_pPathTree->getChildren() : nullptr;
    if (path == m_sPath && m_fnNameOf && items) {
        std::map<std::string, std::string> names;
        for (const auto& [name, item] : *items) {
            if (!item->isDir()) continue;
            const std::string itemPath = item->buildFullPath();
            names.emplace(itemPath, m_fnNameOf(itemPath));
        }
        nameOf = [names = std::move(names)](const std::string& at) {
            const auto found = names.find(at);
            return found != names.end() ? found->second
                                        : platform::PathUtils::lastPathComponent(at);
        };
    }
    if (!m_pSearchQueue) {
        // One search at a time is plenty, and spares the other core. Never
        // destroyed: a search still running at exit must not be waited for.
        static const auto* shared = new std::shared_ptr<dispatch::SerialQueue>(
            std::make_shared<dispatch::SerialQueue>("Folder search"));
        m_pSearchQueue = *shared;
    }
    auto search =
        std::make_shared<FolderAppSearch>(path, m_pReader, m_searchLimits, std::move(nameOf));
    m_arrSearches.push_back(search);
    // The search holds the watcher weakly: a watcher that goes away abandons it.
    m_pSearchQueue->async([search, weak = weak_from_this()] {
        search->run([&](const std::string& app) {
            search->postToMain([weak, app] {
                if (auto self = weak.lock()) self->notifyDelegateThatAddedAppWithPath(app);
            });
        });
        search->postToMain([weak, search] {
            if (auto self = weak.lock()) std::erase(self->m_arrSearches, search);
        });
    });
}
