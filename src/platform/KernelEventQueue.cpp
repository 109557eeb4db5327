#include "platform/KernelEventQueue.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace platform {

namespace {

// Everything a registration can turn into a kind is always asked for; the
// subscription filters afterwards. Widening a subscription then never needs
// the path again, which may name something else by then.
constexpr std::uint32_t kWatchMask = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO |
                                     IN_MODIFY | IN_ATTRIB | IN_MOVE_SELF | IN_DELETE_SELF;

constexpr std::size_t kReadBufferSize = 64 * 1024;

// What one inotify event means for the watched item itself.
//
//   inotify event                       watched folder          watched file
//   ----------------------------------  ----------------------  --------------
//   IN_CREATE, IN_DELETE,               write (+ link when the  -
//   IN_MOVED_FROM, IN_MOVED_TO          entry is a folder: its
//     (an entry of the folder)          ".." changes the count)
//   IN_MODIFY   (the item's contents)   -                       write + extend
//   IN_ATTRIB   (the item's inode)      attributes              attributes
//   IN_MOVE_SELF                        rename                  rename
//   IN_DELETE_SELF                      delete                  delete
//   IN_UNMOUNT                          revoke                  revoke
//   anything about an entry of the folder other than the above:  nothing
//
// inotify cannot say whether a modification grew the file, so a file's
// modification counts as an extension as well; nor does it report a file's
// link count apart from its other attributes.
std::uint32_t notesFor(std::uint32_t mask, bool aboutEntry) {
    std::uint32_t notes = 0;
    if (aboutEntry) {
        if (mask & (IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO)) {
            notes |= kNoteWrite;
            if (mask & IN_ISDIR) notes |= kNoteLink;
        }
        return notes;
    }
    if (mask & IN_MODIFY) notes |= kNoteWrite | kNoteExtend;
    if (mask & IN_ATTRIB) notes |= kNoteAttrib;
    if (mask & IN_MOVE_SELF) notes |= kNoteRename;
    if (mask & IN_DELETE_SELF) notes |= kNoteDelete;
    if (mask & IN_UNMOUNT) notes |= kNoteRevoke;
    return notes;
}

}  // namespace

std::shared_ptr<KernelEventQueue> KernelEventQueue::create() {
    UniqueFd fd(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    if (!fd) return nullptr;
    UniqueFd wakeFD(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC));
    if (!wakeFD) return nullptr;
    return std::shared_ptr<KernelEventQueue>(
        new KernelEventQueue(std::move(fd), std::move(wakeFD)));
}

KernelEventQueue::KernelEventQueue(UniqueFd fd, UniqueFd wakeFD)
    : m_nDescriptorNumber(fd.get()),
      m_fd(std::move(fd)),
      m_wakeFd(std::move(wakeFD)),
      m_arrReadBuffer(kReadBufferSize) {}

KernelEventQueue::~KernelEventQueue() {
    close();
}

void KernelEventQueue::close() {
    std::lock_guard guard(m_lock);
    if (!m_fd) return;
    m_fd.reset();
    m_wakeFd.reset();
    m_arrRegistrations.clear();
    m_arrRegistrationsOfWatch.clear();
}

void KernelEventQueue::interrupt() {
    std::lock_guard guard(m_lock);
    if (!m_wakeFd) return;
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(m_wakeFd.get(), &one, sizeof one);
}

int KernelEventQueue::open(const std::string& path) {
    if (path.empty()) return -1;
    std::lock_guard guard(m_lock);
    if (!m_fd) return -1;
    const int watch = ::inotify_add_watch(m_fd.get(), path.c_str(), kWatchMask);
    if (watch < 0) return -1;
    const int registration = ++m_nLastRegistration;
    m_arrRegistrations[registration].watch = watch;
    m_arrRegistrationsOfWatch[watch].push_back(registration);
    return registration;
}

bool KernelEventQueue::subscribe(int registration, std::uint32_t fflags,
                                 std::weak_ptr<void> userData) {
    std::lock_guard guard(m_lock);
    const auto found = m_arrRegistrations.find(registration);
    if (found == m_arrRegistrations.end()) return false;
    found->second.fflags = fflags;
    found->second.userData = std::move(userData);
    return true;
}

void KernelEventQueue::close(int registration) {
    std::lock_guard guard(m_lock);
    const auto found = m_arrRegistrations.find(registration);
    if (found == m_arrRegistrations.end()) return;
    const int watch = found->second.watch;
    m_arrRegistrations.erase(found);
    if (watch < 0) return;
    auto& shared = m_arrRegistrationsOfWatch[watch];
    shared.erase(std::remove(shared.begin(), shared.end(), registration), shared.end());
    if (shared.empty()) {
        m_arrRegistrationsOfWatch.erase(watch);
        if (m_fd) ::inotify_rm_watch(m_fd.get(), watch);
    }
}

void KernelEventQueue::detachWatch(int watch) {
    const auto found = m_arrRegistrationsOfWatch.find(watch);
    if (found == m_arrRegistrationsOfWatch.end()) return;
    for (int registration : found->second) m_arrRegistrations[registration].watch = -1;
    m_arrRegistrationsOfWatch.erase(found);
}

std::vector<KernelEventQueue::Event> KernelEventQueue::wait(std::chrono::milliseconds timeout) {
    // Only the waiting thread closes the descriptors, so they can be read
    // here without the lock.
    int fd = -1, wakeFD = -1;
    {
        std::lock_guard guard(m_lock);
        fd = m_fd.get();
        wakeFD = m_wakeFd.get();
    }
    if (fd < 0) return {};
    pollfd ready[2] = {{fd, POLLIN, 0}, {wakeFD, POLLIN, 0}};
    if (::poll(ready, 2, static_cast<int>(timeout.count())) <= 0) return {};
    if (ready[1].revents & POLLIN) {
        std::uint64_t count = 0;
        [[maybe_unused]] const ssize_t drained = ::read(wakeFD, &count, sizeof count);
        return {};
    }
    return readPending();
}

std::vector<KernelEventQueue::Event> KernelEventQueue::readPending() {
    int fd = -1;
    {
        std::lock_guard guard(m_lock);
        fd = m_fd.get();
    }
    if (fd < 0) return {};
    // Read everything that is queued now; the fd does not block.
    std::vector<std::pair<int, std::uint32_t>> raw;  // (watch or -1 for overflow, notes)
    std::vector<int> detached;
    for (;;) {
        const ssize_t length = ::read(fd, m_arrReadBuffer.data(), m_arrReadBuffer.size());
        if (length <= 0) break;
        for (ssize_t at = 0; at < length;) {
            inotify_event header;
            std::memcpy(&header, m_arrReadBuffer.data() + at, sizeof header);
            at += static_cast<ssize_t>(sizeof header + header.len);
            if (header.mask & IN_Q_OVERFLOW) {
                raw.emplace_back(-1, kNoteWrite | kNoteOverflow);
            } else if (header.mask & IN_IGNORED) {
                detached.push_back(header.wd);  // the watch is gone (deleted, unmounted, closed)
            } else if (const std::uint32_t notes = notesFor(header.mask, header.len > 0)) {
                raw.emplace_back(header.wd, notes);
            }
        }
    }

    std::lock_guard guard(m_lock);
    std::vector<int> order;
    std::unordered_map<int, std::uint32_t> merged;
    auto note = [&](int registration, std::uint32_t notes) {
        const auto entry = m_arrRegistrations.find(registration);
        if (entry == m_arrRegistrations.end()) return;
        const std::uint32_t wanted = notes & (entry->second.fflags | kNoteOverflow);
        if (wanted == 0) return;
        auto [slot, added] = merged.try_emplace(registration, 0);
        if (added) order.push_back(registration);
        slot->second |= wanted;
    };
    for (const auto& [watch, notes] : raw) {
        if (watch < 0) {
            for (const auto& registration : m_arrRegistrations) note(registration.first, notes);
            continue;
        }
        const auto found = m_arrRegistrationsOfWatch.find(watch);
        if (found == m_arrRegistrationsOfWatch.end()) continue;  // closed meanwhile
        for (int registration : found->second) note(registration, notes);
    }
    for (int watch : detached) detachWatch(watch);

    std::vector<Event> events;
    events.reserve(order.size());
    for (int registration : order) {
        events.push_back({m_arrRegistrations[registration].userData, merged[registration]});
    }
    return events;
}

}  // namespace platform
