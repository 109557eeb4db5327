#include "dispatch/Group.h"

#include <condition_variable>
#include <mutex>
#include <utility>
#include <vector>

namespace dispatch {

struct Group::State {
    std::mutex lock;
    std::condition_variable drained;
    long count = 0;
    std::vector<std::pair<Queue*, Block>> notifications;
};

Group::Group() : m_pState(std::make_shared<State>()) {}

void Group::enter() {
    std::lock_guard guard(m_pState->lock);
    ++m_pState->count;
}

void Group::leave() {
    {
        std::lock_guard guard(m_pState->lock);
        if (m_pState->count == 0) return;
        if (--m_pState->count != 0) return;
        // Posted under the lock so that a waiter released by this leave finds
        // the notifications already queued. Queues never call back into a
        // group from async, so the lock order group -> queue is safe.
        for (auto& [queue, block] : m_pState->notifications) queue->async(std::move(block));
        m_pState->notifications.clear();
    }
    m_pState->drained.notify_all();
}

void Group::notify(Queue& queue, Block block) {
    {
        std::lock_guard guard(m_pState->lock);
        if (m_pState->count != 0) {
            m_pState->notifications.emplace_back(&queue, std::move(block));
            return;
        }
    }
    queue.async(std::move(block));
}

bool Group::wait(Duration timeout) const {
    std::unique_lock guard(m_pState->lock);
    return m_pState->drained.wait_for(guard, timeout, [this] { return m_pState->count == 0; });
}

}  // namespace dispatch
