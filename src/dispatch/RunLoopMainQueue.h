#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

#include "dispatch/BlockSchedule.h"
#include "dispatch/MainQueue.h"

namespace dispatch {

// A main queue on the real monotonic clock, run by whichever thread calls
// run() or runUntil(). Tests that exercise real kernels use it to wait for a
// condition with a deadline instead of sleeping.
class RunLoopMainQueue final : public MainQueue {
public:
    RunLoopMainQueue();

    void async(Block block) override;
    TimerHandle after(Duration delay, Block block) override;
    TimePoint now() const override;
    bool isCurrent() const override;

    // Runs blocks on the calling thread until stop() is called.
    void run();
    // Runs blocks until `done` answers true (tested before waiting and after
    // each block) or `timeout` passes. Answers the last value of `done`.
    bool runUntil(const std::function<bool()>& done, Duration timeout);
    // Makes run() return; safe from any thread and from inside a block.
    void stop();

private:
    bool runLoop(const std::function<bool()>& done, TimePoint deadline);

    mutable std::mutex m_lock;
    std::condition_variable m_wake;
    BlockSchedule m_schedule;
    bool m_bStopRequested = false;
    std::atomic<std::thread::id> m_owner;
};

}  // namespace dispatch
