#include "watching/FileEventQueue.h"

#include <chrono>
#include <system_error>
#include <thread>
#include <utility>

#include "dispatch/MainQueue.h"
#include "platform/NotificationCenter.h"

namespace {

// The order in which the kinds are tested and their names emitted.
constexpr std::pair<std::uint32_t, const char*> kNamesInOrder[] = {
    {platform::kNoteRename, FileEventQueueFileRenamedNotification},
    {platform::kNoteWrite, FileEventQueueFileWrittenToNotification},
    {platform::kNoteDelete, FileEventQueueFileDeletedNotification},
    {platform::kNoteAttrib, FileEventQueueFileAttributesChangedNotification},
    {platform::kNoteExtend, FileEventQueueFileSizeIncreasedNotification},
    {platform::kNoteLink, FileEventQueueLinkCountChangedNotification},
    {platform::kNoteRevoke, FileEventQueueAccessWasRevokedNotification},
};

constexpr std::chrono::seconds kWatcherWait(1);

std::atomic<int> g_nRunningWatcherThreads{0};

}  // namespace

// ---- FileEventQueuePathEntry ----

std::shared_ptr<FileEventQueuePathEntry> FileEventQueuePathEntry::create(
    const std::shared_ptr<platform::KernelEventQueue>& queue, const std::string& path,
    std::uint32_t subscriptionFlags) {
    if (!queue) return nullptr;
    const int registration = queue->open(path);
    if (registration < 0) return nullptr;
    return std::shared_ptr<FileEventQueuePathEntry>(
        new FileEventQueuePathEntry(queue, path, registration, subscriptionFlags));
}

FileEventQueuePathEntry::FileEventQueuePathEntry(std::weak_ptr<platform::KernelEventQueue> queue,
                                                 std::string path, int watchedFD,
                                                 std::uint32_t subscriptionFlags)
    : m_sPath(std::move(path)),
      m_nWatchedFD(watchedFD),
      m_nSubscriptionFlags(subscriptionFlags),
      m_pQueue(std::move(queue)) {}

FileEventQueuePathEntry::~FileEventQueuePathEntry() {
    // Closing the registration is what takes the path out of the kernel queue.
    const int fd = m_nWatchedFD.exchange(-1);
    if (fd < 0) return;
    if (auto queue = m_pQueue.lock()) queue->close(fd);
}

std::string FileEventQueuePathEntry::path() const {
    std::lock_guard guard(m_lock);
    return m_sPath;
}

void FileEventQueuePathEntry::setPath(std::string path) {
    std::lock_guard guard(m_lock);
    m_sPath = std::move(path);
}

// ---- FileEventQueue ----

std::shared_ptr<FileEventQueue> FileEventQueue::create() {
    auto queue = platform::KernelEventQueue::create();
    if (!queue) return nullptr;
    return std::make_shared<FileEventQueue>(Private{}, std::move(queue));
}

FileEventQueue::FileEventQueue(Private, std::shared_ptr<platform::KernelEventQueue> queue)
    : m_pCoreQueue(std::move(queue)),
      m_nCoreQueueFD(m_pCoreQueue->descriptor()),
      m_pKeepWatcherThreadRunning(std::make_shared<std::atomic<bool>>(false)) {}

FileEventQueue::~FileEventQueue() {
    removeAllPaths();
    // A running thread closes the kernel queue itself once it sees the flag;
    // the wake-up only spares it the rest of its one-second wait. Without a
    // thread, dropping the last reference here closes the queue.
    if (m_pKeepWatcherThreadRunning->exchange(false)) m_pCoreQueue->interrupt();
    m_pCoreQueue.reset();
}

void FileEventQueue::addPath(const std::string& path) {
    addPath(path, platform::kNoteAll);
}

void FileEventQueue::addPath(const std::string& path, std::uint32_t notifyingAbout) {
    if (path.empty()) return;
    std::lock_guard guard(m_lock);
    if (m_arrWatchedPathEntries.count(path) != 0) return;
    addPathToQueue(path, notifyingAbout);
}

std::shared_ptr<FileEventQueuePathEntry> FileEventQueue::addPathToQueue(
    const std::string& path, std::uint32_t notifyingAbout) {
    std::lock_guard guard(m_lock);
    std::shared_ptr<FileEventQueuePathEntry> entry;
    std::uint32_t flags = notifyingAbout;
    if (const auto found = m_arrWatchedPathEntries.find(path);
        found != m_arrWatchedPathEntries.end()) {
        entry = found->second;
        const std::uint32_t existing = entry->subscriptionFlags();
        if ((existing & flags) == flags) return entry;
        flags |= existing;
    } else {
        entry = FileEventQueuePathEntry::create(m_pCoreQueue, path, flags);
        if (!entry) return nullptr;
    }
    entry->setSubscriptionFlags(flags);
    m_arrWatchedPathEntries[path] = entry;
    // Like a kernel change record, the answer is not looked at: a failed
    // subscription simply never reports.
    m_pCoreQueue->subscribe(entry->watchedFD(), flags, entry);
    startWatcherThreadIfNeeded();
    return entry;
}

void FileEventQueue::removePath(const std::string& path) {
    if (path.empty()) return;
    std::lock_guard guard(m_lock);
    m_arrWatchedPathEntries.erase(path);
}

void FileEventQueue::removeAllPaths() {
    std::lock_guard guard(m_lock);
    m_arrWatchedPathEntries.clear();
}

std::size_t FileEventQueue::numberOfWatchedPaths() const {
    std::lock_guard guard(m_lock);
    return m_arrWatchedPathEntries.size();
}

int FileEventQueue::numberOfRunningWatcherThreads() {
    return g_nRunningWatcherThreads.load();
}

void FileEventQueue::startWatcherThreadIfNeeded() {
    if (m_pKeepWatcherThreadRunning->exchange(true)) return;
    g_nRunningWatcherThreads.fetch_add(1);
    try {
        std::thread(&FileEventQueue::watcherThread, m_pCoreQueue, m_pKeepWatcherThreadRunning,
                    weak_from_this())
            .detach();
    } catch (const std::system_error&) {
        // No thread: nothing will be reported, and the next registration tries again.
        g_nRunningWatcherThreads.fetch_sub(1);
        m_pKeepWatcherThreadRunning->store(false);
    }
}

void FileEventQueue::watcherThread(std::shared_ptr<platform::KernelEventQueue> queue,
                                   std::shared_ptr<std::atomic<bool>> keepRunning,
                                   std::weak_ptr<FileEventQueue> watcher) {
    std::vector<std::string> names;
    names.reserve(5);
    while (keepRunning->load()) {
        try {
            for (const platform::KernelEventQueue::Event& event : queue->wait(kWatcherWait)) {
                if (!keepRunning->load()) break;  // the owner is going away
                if (event.fflags == 0) continue;
                const auto entry =
                    std::static_pointer_cast<FileEventQueuePathEntry>(event.userData.lock());
                if (!entry) continue;
                std::string path = entry->path();
                if (path.empty()) continue;
                names.clear();
                for (const auto& [bit, name] : kNamesInOrder) {
                    if (event.fflags & bit) names.emplace_back(name);
                }
                // The owner may be gone by the time the block runs; then the
                // event has nobody left to tell.
                dispatch::MainQueue::main().async([watcher, names, path = std::move(path)] {
                    if (auto self = watcher.lock()) self->deliver(names, path);
                });
            }
        } catch (...) {
            // One bad event must not end the thread.
        }
    }
    queue->close();
    queue.reset();
    g_nRunningWatcherThreads.fetch_sub(1);
}

void FileEventQueue::deliver(const std::vector<std::string>& names, const std::string& path) {
    for (const std::string& name : names) {
        const auto delegate = m_pDelegate.lock();
        if (delegate) delegate->receivedNotification(*this, name, path);
        if (!delegate || m_bAlwaysPostNotifications) {
            platform::NotificationCenter::workspaceCenter().postNotificationName(
                name, this, {{kFileEventQueuePathKey, path}});
        }
    }
}
