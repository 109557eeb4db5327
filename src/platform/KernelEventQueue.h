#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/FileSystem.h"

namespace platform {

// The kinds of change a watched path reports. The values are the vnode note
// flags that the watcher layer and its users speak in.
inline constexpr std::uint32_t kNoteDelete = 0x01;
inline constexpr std::uint32_t kNoteWrite = 0x02;
inline constexpr std::uint32_t kNoteExtend = 0x04;
inline constexpr std::uint32_t kNoteAttrib = 0x08;
inline constexpr std::uint32_t kNoteLink = 0x10;
inline constexpr std::uint32_t kNoteRename = 0x20;
inline constexpr std::uint32_t kNoteRevoke = 0x40;
inline constexpr std::uint32_t kNoteAll = 0x7F;
// Not a change of one path: the kernel dropped events for lack of room, so
// whatever is watched must be read again. Reported to every registration,
// whatever it is subscribed to.
inline constexpr std::uint32_t kNoteOverflow = 0x80;

// A kernel queue of per-path change events, built on one inotify instance.
//
// A path is first opened for events (which fails when it cannot be watched)
// and then subscribed to a set of kinds with a piece of user data; events come
// back from wait() as (user data, kinds). Like a descriptor, a registration
// follows the item it was opened on through renames, and stops reporting once
// the item is deleted. Several registrations may name the same item (a link
// and its target): each gets its own events.
//
// Everything may be called from any thread while another thread waits;
// wait() itself is meant for one thread at a time, and close() for that
// thread or for when no thread waits.
class KernelEventQueue {
public:
    struct Event {
        // What the registration was subscribed with; the queue does not own it.
        std::weak_ptr<void> userData;
        std::uint32_t fflags = 0;
    };

    // A new queue; null when the kernel refuses one (too many instances).
    static std::shared_ptr<KernelEventQueue> create();
    // Closes the queue unless close() already did.
    ~KernelEventQueue();
    KernelEventQueue(const KernelEventQueue&) = delete;
    KernelEventQueue& operator=(const KernelEventQueue&) = delete;

    // The kernel descriptor (its number stays known after closing).
    int descriptor() const { return m_nDescriptorNumber; }
    // Closes the kernel queue now; afterwards every operation does nothing.
    void close();
    // Makes a wait() in progress (or the next one) return at once, empty.
    void interrupt();

    // Opens what the path names (a final link followed) for events. Answers a
    // registration number, never reused by this queue, or -1 when the item
    // cannot be watched (missing, no permission, out of kernel watches). The
    // registration reports nothing until it is subscribed.
    int open(const std::string& path);
    // Sets the kinds the registration reports and the user data its events
    // carry; false when the registration is not open.
    bool subscribe(int registration, std::uint32_t fflags, std::weak_ptr<void> userData);
    // Ends the registration; unknown numbers are ignored.
    void close(int registration);

    // Waits up to `timeout` for events and answers readPending(). Empty after
    // a time-out or an interrupt().
    std::vector<Event> wait(std::chrono::milliseconds timeout);
    // Everything that can be read now, without waiting, merged: one event per
    // registration, carrying the OR of all kinds it saw, in the order of each
    // registration's first change. If the kernel dropped events for lack of
    // room, every registration gets kNoteOverflow, and a write too when it is
    // subscribed to writes, so that its owner re-reads what it watches. For
    // the one thread that reads.
    std::vector<Event> readPending();

private:
    KernelEventQueue(UniqueFd fd, UniqueFd wakeFD);

    struct Registration {
        int watch = -1;  // the inotify watch; -1 once the kernel dropped it
        std::uint32_t fflags = 0;
        std::weak_ptr<void> userData;
    };

    void detachWatch(int watch);

    const int m_nDescriptorNumber;
    mutable std::mutex m_lock;
    UniqueFd m_fd;      // empty once closed
    UniqueFd m_wakeFd;  // an eventfd that interrupt() makes readable
    int m_nLastRegistration = -1;
    std::unordered_map<int, Registration> m_arrRegistrations;
    // inotify answers one watch per item, so registrations on one item share it.
    std::unordered_map<int, std::vector<int>> m_arrRegistrationsOfWatch;
    std::vector<char> m_arrReadBuffer;  // used by the waiting thread only
};

}  // namespace platform
