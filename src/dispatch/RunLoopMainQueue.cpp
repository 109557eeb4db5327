#include "dispatch/RunLoopMainQueue.h"

namespace dispatch {

RunLoopMainQueue::RunLoopMainQueue() : m_owner(std::this_thread::get_id()) {}

void RunLoopMainQueue::async(Block block) {
    {
        std::lock_guard lock(m_lock);
        m_schedule.add(std::chrono::steady_clock::now(), std::move(block));
    }
    m_wake.notify_one();
}

TimerHandle RunLoopMainQueue::after(Duration delay, Block block) {
    TimerHandle handle = TimerHandle::make();
    {
        std::lock_guard lock(m_lock);
        m_schedule.add(std::chrono::steady_clock::now() + std::max(delay, Duration::zero()),
                       std::move(block), handle);
    }
    m_wake.notify_one();
    return handle;
}

TimePoint RunLoopMainQueue::now() const {
    return std::chrono::steady_clock::now();
}

bool RunLoopMainQueue::isCurrent() const {
    return std::this_thread::get_id() == m_owner.load();
}

void RunLoopMainQueue::run() {
    runLoop(nullptr, TimePoint::max());
}

bool RunLoopMainQueue::runUntil(const std::function<bool()>& done, Duration timeout) {
    return runLoop(done, std::chrono::steady_clock::now() + timeout);
}

void RunLoopMainQueue::stop() {
    {
        std::lock_guard lock(m_lock);
        m_bStopRequested = true;
    }
    m_wake.notify_all();
}

bool RunLoopMainQueue::runLoop(const std::function<bool()>& done, TimePoint deadline) {
    m_owner.store(std::this_thread::get_id());
    for (;;) {
        if (done && done()) return true;
        std::optional<BlockSchedule::Entry> entry;
        {
            std::unique_lock lock(m_lock);
            for (;;) {
                if (m_bStopRequested) {
                    m_bStopRequested = false;
                    return done && done();
                }
                const TimePoint current = std::chrono::steady_clock::now();
                entry = m_schedule.takeDue(current);
                if (entry) break;
                if (current >= deadline) return done && done();
                TimePoint wakeAt = deadline;
                if (auto next = m_schedule.nextDue(); next && *next < wakeAt) wakeAt = *next;
                m_wake.wait_until(lock, wakeAt);
            }
        }
        if (!entry->handle.isCancelled()) entry->block();
    }
}

}  // namespace dispatch
