#pragma once

#include <memory>

#include "dispatch/Queue.h"
#include "dispatch/TimerHandle.h"

namespace dispatch {

// The queue of the main thread, which owns all state of the agent. The
// application installs one instance backed by its event loop before anything
// else is created; tests install a manual one with a virtual clock.
class MainQueue : public Queue {
public:
    // Runs the block on the main thread once `delay` has passed on this
    // queue's clock. Blocks due at the same moment run in submission order.
    virtual TimerHandle after(Duration delay, Block block) = 0;
    // The queue's clock. Every timer of the system is measured on it.
    virtual TimePoint now() const = 0;

    // The installed instance. Installing none is a programming error and
    // aborts with a message rather than losing blocks silently.
    static MainQueue& main();
    // Makes `queue` the process-wide main queue and answers the previous one.
    // Call it before other threads can reach main().
    static std::shared_ptr<MainQueue> install(std::shared_ptr<MainQueue> queue);
};

// Installs a main queue for the life of a scope (tests) and puts the previous
// one back afterwards.
class ScopedMainQueue {
public:
    explicit ScopedMainQueue(std::shared_ptr<MainQueue> queue)
        : m_pPrevious(MainQueue::install(std::move(queue))) {}
    ~ScopedMainQueue() { MainQueue::install(std::move(m_pPrevious)); }
    ScopedMainQueue(const ScopedMainQueue&) = delete;
    ScopedMainQueue& operator=(const ScopedMainQueue&) = delete;

private:
    std::shared_ptr<MainQueue> m_pPrevious;
};

}  // namespace dispatch
