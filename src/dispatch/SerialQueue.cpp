#include "dispatch/SerialQueue.h"

#include <pthread.h>

#include <condition_variable>
#include <deque>
#include <mutex>

namespace dispatch {

struct SerialQueue::State {
    std::mutex lock;
    std::condition_variable wake;
    std::deque<Block> blocks;
    bool stopping = false;

    void loop(const std::string& label) {
        // Thread names are limited to 15 characters; a cut label still helps in a debugger.
        pthread_setname_np(pthread_self(), label.substr(0, 15).c_str());
        std::unique_lock guard(lock);
        for (;;) {
            wake.wait(guard, [this] { return stopping || !blocks.empty(); });
            if (blocks.empty()) return;  // stopping and drained
            Block block = std::move(blocks.front());
            blocks.pop_front();
            guard.unlock();
            block();
            block = nullptr;  // release the captures before taking the lock again
            guard.lock();
        }
    }
};

SerialQueue::SerialQueue(std::string label)
    : m_sLabel(std::move(label)), m_pState(std::make_shared<State>()) {
    m_thread = std::thread([state = m_pState, label = m_sLabel] { state->loop(label); });
}

SerialQueue::~SerialQueue() {
    {
        std::lock_guard guard(m_pState->lock);
        m_pState->stopping = true;
    }
    m_pState->wake.notify_one();
    if (m_thread.get_id() == std::this_thread::get_id()) {
        // Destroyed by one of its own blocks: the thread cannot join itself.
        // It owns a share of the state and finishes the remaining blocks alone.
        m_thread.detach();
    } else {
        m_thread.join();
    }
}

void SerialQueue::async(Block block) {
    {
        std::lock_guard guard(m_pState->lock);
        m_pState->blocks.push_back(std::move(block));
    }
    m_pState->wake.notify_one();
}

void SerialQueue::sync(const Block& block) {
    if (isCurrent()) {
        block();
        return;
    }
    std::mutex doneLock;
    std::condition_variable doneSignal;
    bool done = false;
    async([&] {
        block();
        std::lock_guard guard(doneLock);
        done = true;
        doneSignal.notify_one();
    });
    std::unique_lock guard(doneLock);
    doneSignal.wait(guard, [&] { return done; });
}

bool SerialQueue::isCurrent() const {
    return std::this_thread::get_id() == m_thread.get_id();
}

}  // namespace dispatch
