#include "dispatch/BlockSchedule.h"

namespace dispatch {

void BlockSchedule::add(TimePoint due, Block block, TimerHandle handle) {
    m_queue.push(Entry{due, m_nNextSequence++, std::move(block), std::move(handle)});
}

void BlockSchedule::dropCancelled() {
    while (!m_queue.empty() && m_queue.top().handle.isCancelled()) m_queue.pop();
}

std::optional<BlockSchedule::Entry> BlockSchedule::takeDue(TimePoint limit) {
    dropCancelled();
    if (m_queue.empty() || m_queue.top().due > limit) return std::nullopt;
    // priority_queue only hands out const tops; the entry is popped right after.
    Entry entry = std::move(const_cast<Entry&>(m_queue.top()));
    m_queue.pop();
    return entry;
}

std::optional<TimePoint> BlockSchedule::nextDue() {
    dropCancelled();
    if (m_queue.empty()) return std::nullopt;
    return m_queue.top().due;
}

void BlockSchedule::clear() {
    m_queue = {};
}

}  // namespace dispatch
