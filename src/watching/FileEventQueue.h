#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/FileWatcher.h"

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

// Watches individual paths and reports each change on the main queue, by the
// names above, to the delegate or as a notification on the workspace's
// notification centre: the tree watcher's view of the process's one watcher
// (platform::FileWatcher), which does the waiting. Main-thread only.
class FileEventQueue : public std::enable_shared_from_this<FileEventQueue> {
    struct Private {};

public:
    static std::shared_ptr<FileEventQueue> create();
    explicit FileEventQueue(Private);
    FileEventQueue(const FileEventQueue&) = delete;
    FileEventQueue& operator=(const FileEventQueue&) = delete;

    // Watches the path for all seven kinds unless it is already watched (even
    // for fewer kinds). An empty path stands for nil and is ignored.
    void addPath(const std::string& path);
    // The same for the given kinds (platform::kNote… bits).
    void addPath(const std::string& path, std::uint32_t notifyingAbout);
    void removePath(const std::string& path) { m_watches.remove(path); }
    void removeAllPaths() { m_watches.clear(); }

    void setDelegate(std::weak_ptr<FileEventQueueDelegate> delegate) {
        m_pDelegate = std::move(delegate);
    }
    std::shared_ptr<FileEventQueueDelegate> delegate() const { return m_pDelegate.lock(); }
    // When set, notifications are posted even though a delegate is set.
    bool alwaysPostNotifications() const { return m_bAlwaysPostNotifications; }
    void setAlwaysPostNotifications(bool value) { m_bAlwaysPostNotifications = value; }

private:
    void deliver(std::uint32_t kinds, const std::string& path);

    std::weak_ptr<FileEventQueueDelegate> m_pDelegate;
    bool m_bAlwaysPostNotifications = false;
    platform::FileWatches m_watches;  // last: ended first
};
