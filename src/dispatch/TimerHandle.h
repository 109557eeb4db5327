#pragma once

#include <atomic>
#include <memory>

namespace dispatch {

// The answer of a delayed submission. Cancelling is safe from any thread and
// at any time; a block cancelled before it starts never runs. Copies share
// one state, so whoever holds a copy can cancel.
class TimerHandle {
public:
    TimerHandle() = default;

    void cancel() const {
        if (m_pCancelled) m_pCancelled->store(true, std::memory_order_release);
    }
    bool isCancelled() const {
        return m_pCancelled && m_pCancelled->load(std::memory_order_acquire);
    }
    // False for a default-constructed handle, which refers to nothing.
    bool isValid() const { return m_pCancelled != nullptr; }

    static TimerHandle make() { return TimerHandle(std::make_shared<std::atomic<bool>>(false)); }

private:
    explicit TimerHandle(std::shared_ptr<std::atomic<bool>> state)
        : m_pCancelled(std::move(state)) {}
    std::shared_ptr<std::atomic<bool>> m_pCancelled;
};

}  // namespace dispatch
