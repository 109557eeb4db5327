#include "dispatch/ManualMainQueue.h"

namespace dispatch {

// The virtual clock starts at an arbitrary, clearly non-zero point so that
// code subtracting durations from "now" never underflows the epoch.
ManualMainQueue::ManualMainQueue()
    : m_now(TimePoint{} + std::chrono::hours(24)), m_owner(std::this_thread::get_id()) {}

void ManualMainQueue::async(Block block) {
    std::lock_guard lock(m_lock);
    m_schedule.add(m_now, std::move(block));
}

TimerHandle ManualMainQueue::after(Duration delay, Block block) {
    TimerHandle handle = TimerHandle::make();
    std::lock_guard lock(m_lock);
    m_schedule.add(m_now + std::max(delay, Duration::zero()), std::move(block), handle);
    return handle;
}

TimePoint ManualMainQueue::now() const {
    std::lock_guard lock(m_lock);
    return m_now;
}

bool ManualMainQueue::isCurrent() const {
    return std::this_thread::get_id() == m_owner;
}

std::size_t ManualMainQueue::runDueUntil(TimePoint limit) {
    std::size_t count = 0;
    for (;;) {
        std::optional<BlockSchedule::Entry> entry;
        {
            std::lock_guard lock(m_lock);
            entry = m_schedule.takeDue(limit);
            if (!entry) return count;
            if (entry->due > m_now) m_now = entry->due;
        }
        // A timer cancelled while we were not holding the lock still must not run.
        if (entry->handle.isCancelled()) continue;
        entry->block();
        ++count;
    }
}

std::size_t ManualMainQueue::runUntilIdle() {
    return runDueUntil(now());
}

std::size_t ManualMainQueue::advance(Duration duration) {
    const TimePoint target = now() + std::max(duration, Duration::zero());
    std::size_t count = runDueUntil(target);
    std::lock_guard lock(m_lock);
    m_now = std::max(m_now, target);
    return count;
}

std::optional<TimePoint> ManualMainQueue::nextDue() const {
    std::lock_guard lock(m_lock);
    return m_schedule.nextDue();
}

std::size_t ManualMainQueue::pendingCount() const {
    std::lock_guard lock(m_lock);
    return m_schedule.size();
}

}  // namespace dispatch
