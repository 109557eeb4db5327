#include "platform/FileWatcher.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <system_error>
#include <thread>
#include <vector>

#include "dispatch/MainQueue.h"

namespace platform {

struct FileWatcher::Watch {
    WatchId id = 0;
    std::string path;        // empty for the mount table
    int registration = -1;   // in the kernel queue; -1 for the mount table
    Handler handler;         // called on the main queue only
};

FileWatcher& FileWatcher::shared() {
    static FileWatcher* const watcher = new FileWatcher();
    return *watcher;
}

FileWatcher::FileWatcher()
    : m_pQueue(KernelEventQueue::create()), m_wake(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {}

FileWatcher::WatchId FileWatcher::watch(const std::string& path, std::uint32_t kinds,
                                        Handler handler) {
    if (path.empty() || !handler || !m_pQueue) return 0;
    auto entry = std::make_shared<Watch>();
    entry->path = path;
    entry->handler = std::move(handler);
    std::lock_guard guard(m_lock);
    entry->registration = m_pQueue->open(path);
    if (entry->registration < 0) return 0;
    entry->id = ++m_nLastId;
    m_pQueue->subscribe(entry->registration, kinds, entry);
    m_arrWatches[entry->id] = entry;
    startThreadIfNeeded();
    return entry->id;
}

FileWatcher::WatchId FileWatcher::watchMountTable(std::function<void()> handler) {
    if (!handler) return 0;
    auto entry = std::make_shared<Watch>();
    entry->handler = [handler = std::move(handler)](const std::string&, std::uint32_t) {
        handler();
    };
    std::lock_guard guard(m_lock);
    if (!m_mountTable) {
        m_mountTable.reset(::open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC));
        if (!m_mountTable) return 0;
    }
    entry->id = ++m_nLastId;
    m_arrWatches[entry->id] = entry;
    startThreadIfNeeded();
    wake();  // the thread adds the table to what it polls
    return entry->id;
}

void FileWatcher::unwatch(WatchId id) {
    std::lock_guard guard(m_lock);
    const auto found = m_arrWatches.find(id);
    if (found == m_arrWatches.end()) return;
    if (found->second->registration >= 0) m_pQueue->close(found->second->registration);
    m_arrWatches.erase(found);
}

std::size_t FileWatcher::numberOfWatches() const {
    std::lock_guard guard(m_lock);
    return m_arrWatches.size();
}

bool FileWatcher::isRunning() const {
    std::lock_guard guard(m_lock);
    return m_bRunning;
}

void FileWatcher::startThreadIfNeeded() {
    if (m_bRunning) return;
    try {
        std::thread(&FileWatcher::run, this).detach();
        m_bRunning = true;
    } catch (const std::system_error&) {
        // No thread: nothing is reported, and the next watch tries again.
    }
}

void FileWatcher::wake() {
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(m_wake.get(), &one, sizeof one);
}

void FileWatcher::run() {
    for (;;) {
        int mountTable = -1;
        {
            std::lock_guard guard(m_lock);
            mountTable = m_mountTable.get();
        }
        pollfd ready[3] = {{m_pQueue->descriptor(), POLLIN, 0},
                           {m_wake.get(), POLLIN, 0},
                           {mountTable, POLLPRI, 0}};
        if (::poll(ready, mountTable >= 0 ? 3 : 2, -1) < 0) continue;  // interrupted
        if (ready[1].revents & POLLIN) {
            std::uint64_t count = 0;
            [[maybe_unused]] const ssize_t drained = ::read(m_wake.get(), &count, sizeof count);
        }
        std::vector<KernelEventQueue::Event> events;
        if (ready[0].revents & POLLIN) events = m_pQueue->readPending();
        // The kernel re-arms the table's event once poll has reported it.
        const bool mountsChanged = (ready[2].revents & (POLLPRI | POLLERR)) != 0;

        // Posted under the lock: once unwatch() has taken it, nothing more
        // for that watch is handed to the main queue.
        std::lock_guard guard(m_lock);
        for (const auto& event : events) {
            const auto entry = std::static_pointer_cast<Watch>(event.userData.lock());
            if (!entry || event.fflags == 0 || !m_arrWatches.count(entry->id)) continue;
            dispatch::MainQueue::main().async(
                [this, id = entry->id, path = entry->path, kinds = event.fflags] {
                    deliver(id, path, kinds);
                });
        }
        if (mountsChanged) {
            for (const auto& [id, entry] : m_arrWatches) {
                if (entry->registration >= 0) continue;
                dispatch::MainQueue::main().async([this, id = id] { deliver(id, {}, 0); });
            }
        }
    }
}

void FileWatcher::deliver(WatchId id, const std::string& path, std::uint32_t kinds) {
    Handler handler;
    {
        std::lock_guard guard(m_lock);
        const auto found = m_arrWatches.find(id);
        if (found == m_arrWatches.end()) return;  // unwatched since it was read
        handler = found->second->handler;
    }
    handler(path, kinds);
}

bool FileWatches::add(const std::string& path, std::uint32_t kinds) {
    const auto found = m_arrWatches.find(path);
    if (found != m_arrWatches.end() && (found->second.kinds & kinds) == kinds) return true;
    if (found != m_arrWatches.end()) kinds |= found->second.kinds;
    const auto id = FileWatcher::shared().watch(path, kinds, m_fnHandler);
    if (id == 0) return false;
    // The wider watch is in place before the narrower one ends.
    if (found != m_arrWatches.end()) FileWatcher::shared().unwatch(found->second.id);
    m_arrWatches[path] = {id, kinds};
    return true;
}

void FileWatches::remove(const std::string& path) {
    const auto found = m_arrWatches.find(path);
    if (found == m_arrWatches.end()) return;
    FileWatcher::shared().unwatch(found->second.id);
    m_arrWatches.erase(found);
}

void FileWatches::clear() {
    for (const auto& [path, entry] : m_arrWatches) FileWatcher::shared().unwatch(entry.id);
    m_arrWatches.clear();
}

}  // namespace platform
