#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "platform/FileSystem.h"
#include "platform/KernelEventQueue.h"

namespace platform {

// The process's one watcher of kernel file events: one inotify descriptor and
// one thread, asleep in poll until the kernel has something for it (no
// time-out, nothing on a timer). Each watch has a handler that is called on
// the main queue with the watched path and the kinds of change (kNote… bits;
// kNoteOverflow, to every handler, when the kernel dropped events: read
// everything again). Changes read in one wake are merged per watch. The mount
// table is watched the same way.
//
// watch() and unwatch() are for the main thread; once unwatch() returns, the
// handler is never called again, not even for an event read before.
class FileWatcher {
public:
    using WatchId = std::uint64_t;
    using Handler = std::function<void(const std::string& path, std::uint32_t kinds)>;

    // The one instance; it lives as long as the process.
    static FileWatcher& shared();

    // Watches what the path names (a final link followed) for the given
    // kinds; 0 when it cannot be watched (missing, no permission, out of
    // kernel watches).
    WatchId watch(const std::string& path, std::uint32_t kinds, Handler handler);
    // Calls the handler whenever the mount table changes (a disk plugged in
    // or out, a mount or an unmount); 0 when the table cannot be watched.
    WatchId watchMountTable(std::function<void()> handler);
    // Ends a watch of either kind; 0 and unknown ids are ignored.
    void unwatch(WatchId id);

    // How many watches are live (for tests: none may be left behind).
    std::size_t numberOfWatches() const;
    // Whether the thread is running (it starts with the first watch).
    bool isRunning() const;

    FileWatcher(const FileWatcher&) = delete;
    FileWatcher& operator=(const FileWatcher&) = delete;

private:
    FileWatcher();
    ~FileWatcher() = delete;  // never: threads may still read it at exit

    struct Watch;
    void startThreadIfNeeded();
    void run();
    void wake();
    void deliver(WatchId id, const std::string& path, std::uint32_t kinds);

    mutable std::mutex m_lock;
    std::shared_ptr<KernelEventQueue> m_pQueue;
    UniqueFd m_wake;        // an eventfd: new descriptors to poll
    UniqueFd m_mountTable;  // /proc/self/mountinfo, once its first watch comes
    WatchId m_nLastId = 0;
    std::map<WatchId, std::shared_ptr<Watch>> m_arrWatches;
    bool m_bRunning = false;
};

// The watches of one owner, by path, each ended when it is removed or the
// object goes: a member of its owner, so that the handler (which may reach
// the owner) is never called once the owner is gone. Main-thread only.
class FileWatches {
public:
    explicit FileWatches(FileWatcher::Handler handler) : m_fnHandler(std::move(handler)) {}
    ~FileWatches() { clear(); }
    FileWatches(const FileWatches&) = delete;
    FileWatches& operator=(const FileWatches&) = delete;

    // Watches the path for at least these kinds (a watch for fewer is
    // widened); false when it cannot be watched.
    bool add(const std::string& path, std::uint32_t kinds);
    void remove(const std::string& path);
    void clear();
    bool contains(const std::string& path) const { return m_arrWatches.count(path) != 0; }
    std::size_t size() const { return m_arrWatches.size(); }

private:
    struct Entry {
        FileWatcher::WatchId id = 0;
        std::uint32_t kinds = 0;
    };
    FileWatcher::Handler m_fnHandler;
    std::map<std::string, Entry> m_arrWatches;
};

}  // namespace platform
