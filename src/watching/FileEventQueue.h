#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/KernelEventQueue.h"

// The names a watcher reports, one per kind of change, posted with the
// watched path under kFileEventQueuePathKey.
inline constexpr char FileEventQueueFileRenamedNotification[] =
    "FileEventQueueFileRenamedNotification";
inline constexpr char FileEventQueueFileWrittenToNotification[] =
    "FileEventQueueFileWrittenToNotification";
inline constexpr char FileEventQueueFileDeletedNotification[] =
    "FileEventQueueFileDeletedNotification";
inline constexpr char FileEventQueueFileAttributesChangedNotification[] =
    "FileEventQueueFileAttributesChangedNotification";
inline constexpr char FileEventQueueFileSizeIncreasedNotification[] =
    "FileEventQueueFileSizeIncreasedNotification";
inline constexpr char FileEventQueueLinkCountChangedNotification[] =
    "FileEventQueueLinkCountChangedNotification";
inline constexpr char FileEventQueueAccessWasRevokedNotification[] =
    "FileEventQueueAccessWasRevokedNotification";
inline constexpr char kFileEventQueuePathKey[] = "path";

class FileEventQueue;

class FileEventQueueDelegate {
public:
    virtual ~FileEventQueueDelegate() = default;
    // Always on the main thread, once per name of an event, in event order.
    virtual void receivedNotification(FileEventQueue& queue, const std::string& name,
                                      const std::string& path) = 0;
};

// One watched path and its kernel registration, which lives exactly as long
// as the entry.
class FileEventQueuePathEntry {
public:
    // Opens the path (a final link followed) for events in `queue`; null when
    // it cannot be watched. Nothing is reported until the queue subscribes it.
    static std::shared_ptr<FileEventQueuePathEntry> create(
        const std::shared_ptr<platform::KernelEventQueue>& queue, const std::string& path,
        std::uint32_t subscriptionFlags);
    ~FileEventQueuePathEntry();
    FileEventQueuePathEntry(const FileEventQueuePathEntry&) = delete;
    FileEventQueuePathEntry& operator=(const FileEventQueuePathEntry&) = delete;

    // The path as given, not normalised. Read by the watcher thread.
    std::string path() const;
    void setPath(std::string path);
    // The kernel registration; -1 once closed.
    int watchedFD() const { return m_nWatchedFD.load(); }
    std::uint32_t subscriptionFlags() const { return m_nSubscriptionFlags.load(); }
    void setSubscriptionFlags(std::uint32_t flags) { m_nSubscriptionFlags.store(flags); }

private:
    FileEventQueuePathEntry(std::weak_ptr<platform::KernelEventQueue> queue, std::string path,
                            int watchedFD, std::uint32_t subscriptionFlags);

    mutable std::mutex m_lock;
    std::string m_sPath;
    std::atomic<int> m_nWatchedFD;
    std::atomic<std::uint32_t> m_nSubscriptionFlags;
    std::weak_ptr<platform::KernelEventQueue> m_pQueue;
};

// Watches individual paths through one kernel queue and reports each change
// on the main queue, to the delegate or as a notification on the workspace's
// notification centre. A watcher thread, started by the first successful
// registration, waits at most a second at a time so that it sees when the
// watcher goes away (destruction also wakes it); it then closes the kernel
// queue itself.
class FileEventQueue : public std::enable_shared_from_this<FileEventQueue> {
    struct Private {};

public:
    // Null when the kernel queue cannot be made.
    static std::shared_ptr<FileEventQueue> create();
    FileEventQueue(Private, std::shared_ptr<platform::KernelEventQueue> queue);
    // Drops every path and stops the thread without waiting for it.
    ~FileEventQueue();
    FileEventQueue(const FileEventQueue&) = delete;
    FileEventQueue& operator=(const FileEventQueue&) = delete;

    // Watches the path for all seven kinds unless it is already watched (even
    // for fewer kinds). An empty path stands for nil and is ignored.
    void addPath(const std::string& path);
    // The same for the given kinds (platform::kNote… bits).
    void addPath(const std::string& path, std::uint32_t notifyingAbout);
    // Watches the path for at least these kinds, widening an existing entry;
    // answers the entry, or null when the path cannot be watched.
    std::shared_ptr<FileEventQueuePathEntry> addPathToQueue(const std::string& path,
                                                            std::uint32_t notifyingAbout);
    void removePath(const std::string& path);
    void removeAllPaths();
    std::size_t numberOfWatchedPaths() const;

    // Main-thread accessors.
    void setDelegate(std::weak_ptr<FileEventQueueDelegate> delegate) {
        m_pDelegate = std::move(delegate);
    }
    std::shared_ptr<FileEventQueueDelegate> delegate() const { return m_pDelegate.lock(); }
    // When set, notifications are posted even though a delegate is set.
    bool alwaysPostNotifications() const { return m_bAlwaysPostNotifications; }
    void setAlwaysPostNotifications(bool value) { m_bAlwaysPostNotifications = value; }

    // The kernel queue's descriptor.
    int coreQueueFD() const { return m_nCoreQueueFD; }
    // Whether the watcher thread has been started (by the first registration).
    bool keepWatcherThreadRunning() const { return m_pKeepWatcherThreadRunning->load(); }
    // Watcher threads of all watchers that have not yet closed their queue.
    static int numberOfRunningWatcherThreads();

private:
    static void watcherThread(std::shared_ptr<platform::KernelEventQueue> queue,
                              std::shared_ptr<std::atomic<bool>> keepRunning,
                              std::weak_ptr<FileEventQueue> watcher);
    void startWatcherThreadIfNeeded();
    void deliver(const std::vector<std::string>& names, const std::string& path);

    std::shared_ptr<platform::KernelEventQueue> m_pCoreQueue;
    int m_nCoreQueueFD;
    mutable std::recursive_mutex m_lock;
    std::map<std::string, std::shared_ptr<FileEventQueuePathEntry>> m_arrWatchedPathEntries;
    std::weak_ptr<FileEventQueueDelegate> m_pDelegate;
    bool m_bAlwaysPostNotifications = false;
    // Shared with the thread, which may outlive this object by one wait.
    std::shared_ptr<std::atomic<bool>> m_pKeepWatcherThreadRunning;
};
