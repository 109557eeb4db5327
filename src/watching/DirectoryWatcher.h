#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "dispatch/Queue.h"
#include "dispatch/TimerHandle.h"
#include "watching/FileEventQueue.h"
#include "watching/FileItem.h"
#include "watching/FolderAppSearch.h"

class DirectoryWatcherDelegate {
public:
    virtual ~DirectoryWatcherDelegate() = default;
    // A top-level application bundle appeared at the path (main thread).
    virtual void onAddedAppWithPath(const std::string& path) = 0;
    // The watched folder itself was removed, renamed away or its disk
    // unmounted: the watcher has stopped watching (main thread).
    virtual void onWatchedFolderGone(const std::string& /*path*/) {}
};

// Watches one folder: keeps a tree of it, re-reads it once changes have been
// quiet for two seconds, and reports every application bundle among what was
// added, also inside added folders at any depth (within the budget of a
// FolderAppSearch). Entries present at the start and entries that vanish are
// never reported; repeated reports of one bundle are not filtered here.
// Main-thread only; the searches of added folders run on a queue of their
// own and report back on the main queue.
class DirectoryWatcher final : public FileItemListener,
                               public FileEventQueueDelegate,
                               public std::enable_shared_from_this<DirectoryWatcher> {
    struct Private {};

public:
    // How long changes must be quiet before the folder is re-read.
    static constexpr std::chrono::milliseconds kUpdateDelay{2000};
    // How long after an added folder is seen it is searched for applications.
    static constexpr std::chrono::milliseconds kFolderSearchDelay{2000};

    using EventQueueFactory = std::function<std::shared_ptr<FileEventQueue>()>;

    // Loads the folder one level deep and starts watching it. A missing folder
    // gives a watcher that never reports anything.
    static std::shared_ptr<DirectoryWatcher> create(const std::string& path);
    // The same, reading the folder through `reader` and hearing of its
    // changes through a queue from `makeEventQueue`.
    static std::shared_ptr<DirectoryWatcher> create(const std::string& path,
                                                    FileItem::Reader reader,
                                                    EventQueueFactory makeEventQueue);
    DirectoryWatcher(Private, std::string path, FileItem::Reader reader,
                     EventQueueFactory makeEventQueue);
    // Abandons the searches still running: they report nothing more.
    ~DirectoryWatcher() override;

    // Watches the folder through a new event queue; false when none could be
    // made, and then only contentsChanged() makes the folder be read again.
    bool startWatching();
    // Drops the event queue: changes are no longer heard of.
    void stopWatching();
    // Watches a folder above this one too: its removal, rename or unmount
    // also ends the watch (onWatchedFolderGone).
    void goneWith(const std::string& folderAbove);
    bool isWatching() const { return m_bIsWatching; }
    const std::string& getPath() const { return m_sPath; }
    void setDelegate(std::weak_ptr<DirectoryWatcherDelegate> delegate) {
        m_pDelegate = std::move(delegate);
    }
    // How an item's name is read when it is judged: a Trash may store an
    // item under another name than it had. The item's own name when unset.
    void setNameOfItem(std::function<std::string(const std::string& path)> nameOf) {
        m_fnNameOf = std::move(nameOf);
    }
    // The queue that reports changes of the folder (null if none could be made).
    const std::shared_ptr<FileEventQueue>& getFileEventQueue() const { return m_pFileEventQueue; }

    // The tree node of a path inside the folder (the root for the folder
    // itself); null when it is not in the loaded tree.
    std::shared_ptr<FileItem> getFileItemWithPath(const std::string& path) const;

    // Any change pushes the re-read back to kUpdateDelay from now.
    void contentsChanged();
    void receivedNotification(FileEventQueue& queue, const std::string& name,
                              const std::string& path) override;
    void updateDirContent();

    void onAddedFileItem(const std::shared_ptr<FileItem>& item,
                         const std::shared_ptr<FileItem>& parent) override;
    // Removals are deliberately not reported.
    void onRemovedFileItem(const std::shared_ptr<FileItem>&,
                           const std::shared_ptr<FileItem>&) override {}
    std::shared_ptr<FileItem> getFileItemParent() override { return nullptr; }

    // Reports the item when it is a folder that is an application not nested
    // in another bundle; answers whether it did.
    bool notifyIsFileItemIsApp(const std::shared_ptr<FileItem>& item);
    void notifyDelegateThatAddedAppWithPath(const std::string& path);
    // Starts a search of the folder (FolderAppSearch) on the search queue; each
    // application it finds is reported from the main queue. The watcher's
    // reader is read from that queue's thread.
    void checkFolderForAppsWithPath(const std::string& path);

    // Where the searches run: one shared background queue unless told.
    void setSearchQueue(std::shared_ptr<dispatch::Queue> queue) {
        m_pSearchQueue = std::move(queue);
    }
    void setSearchLimits(FolderAppSearch::Limits limits) { m_searchLimits = std::move(limits); }
    // Searches started and not yet finished.
    std::size_t numberOfRunningSearches() const { return m_arrSearches.size(); }

private:
    std::string m_sPath;
    FileItem::Reader m_pReader;
    EventQueueFactory m_fnMakeEventQueue;
    std::shared_ptr<FileItem> m_pPathTree;
    std::shared_ptr<FileEventQueue> m_pFileEventQueue;
    std::weak_ptr<DirectoryWatcherDelegate> m_pDelegate;
    std::function<std::string(const std::string& path)> m_fnNameOf;
    bool m_bIsWatching = false;
    std::vector<std::string> m_arrGoneWith;
    dispatch::TimerHandle m_updateRequest;
    std::shared_ptr<dispatch::Queue> m_pSearchQueue;
    FolderAppSearch::Limits m_searchLimits;
    std::vector<std::shared_ptr<FolderAppSearch>> m_arrSearches;
};
