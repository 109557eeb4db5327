#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

class StartStopTrigger;

// Told when a trigger actually changes state; called with the trigger's lock held.
class StartStopTriggerListener {
public:
    virtual ~StartStopTriggerListener() = default;
    virtual void onTriggerStarted(StartStopTrigger& trigger) = 0;
    virtual void onTriggerStopped(StartStopTrigger& trigger) = 0;
};

// A start/stop switch. Every effective stop moves the cycle on, so a loop
// that remembers the cycle it was started in can tell that it has been
// stopped, even when the trigger has been started again since.
class StartStopTrigger {
public:
    explicit StartStopTrigger(std::weak_ptr<StartStopTriggerListener> listener);

    // Only when paused: unpause, then tell the listener. A second start does nothing.
    void start();
    // Only when running: pause, advance the cycle, then tell the listener.
    void stop();

    // Read without the lock by design: a stale value only delays a loop's end.
    std::uint32_t cycle() const { return m_nCycle.load(std::memory_order_acquire); }
    void setCycle(std::uint32_t cycle) { m_nCycle.store(cycle, std::memory_order_release); }
    bool isPaused() const { return m_bIsPaused.load(std::memory_order_acquire); }
    void setIsPaused(bool isPaused) { m_bIsPaused.store(isPaused, std::memory_order_release); }

private:
    std::weak_ptr<StartStopTriggerListener> m_pListener;
    std::recursive_mutex m_triggerLock;
    std::atomic<bool> m_bIsPaused{true};
    std::atomic<std::uint32_t> m_nCycle{1};
};
