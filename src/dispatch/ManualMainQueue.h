#pragma once

#include <mutex>
#include <optional>
#include <thread>

#include "dispatch/BlockSchedule.h"
#include "dispatch/MainQueue.h"

namespace dispatch {

// A main queue that runs nothing by itself: the test thread that made it
// drives it, and its clock is virtual, so a 30 s time-out takes microseconds.
// Posting (async, after, cancel) is safe from any thread.
class ManualMainQueue final : public MainQueue {
public:
    ManualMainQueue();

    void async(Block block) override;
    TimerHandle after(Duration delay, Block block) override;
    TimePoint now() const override;
    // The thread that made the queue counts as the main thread.
    bool isCurrent() const override;

    // Runs every block that is due now, including blocks those blocks post,
    // without moving the clock. Answers how many ran.
    std::size_t runUntilIdle();
    // Moves the clock forward by `duration`, running each block at its due
    // time in order; the clock then stands at the end of the span.
    std::size_t advance(Duration duration);
    // Due time of the next pending block (timers included), if any.
    std::optional<TimePoint> nextDue() const;
    // Number of blocks still waiting, cancelled ones not yet dropped included.
    std::size_t pendingCount() const;

private:
    std::size_t runDueUntil(TimePoint limit);

    mutable std::mutex m_lock;
    mutable BlockSchedule m_schedule;
    TimePoint m_now;
    std::thread::id m_owner;
};

}  // namespace dispatch
