#include "remains/StartStopTrigger.h"

StartStopTrigger::StartStopTrigger(std::weak_ptr<StartStopTriggerListener> listener)
    : m_pListener(std::move(listener)) {}

void StartStopTrigger::start() {
    std::lock_guard guard(m_triggerLock);
    if (!isPaused()) return;
    setIsPaused(false);
    if (auto listener = m_pListener.lock()) listener->onTriggerStarted(*this);
}

void StartStopTrigger::stop() {
    std::lock_guard guard(m_triggerLock);
    if (isPaused()) return;
    setIsPaused(true);
    // Unsigned arithmetic wraps, which is what a cycle counter wants.
    setCycle(cycle() + 1);
    if (auto listener = m_pListener.lock()) listener->onTriggerStopped(*this);
}
