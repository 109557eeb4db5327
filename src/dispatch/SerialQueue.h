#pragma once

#include <memory>
#include <string>
#include <thread>

#include "dispatch/Queue.h"

namespace dispatch {

// One thread running blocks in submission order. The destructor lets the
// blocks already submitted finish, then joins the thread.
class SerialQueue final : public Queue {
public:
    explicit SerialQueue(std::string label);
    ~SerialQueue() override;
    SerialQueue(const SerialQueue&) = delete;
    SerialQueue& operator=(const SerialQueue&) = delete;

    void async(Block block) override;
    // Runs the block on the queue and waits for it. Called from the queue's
    // own thread it runs the block at once instead of deadlocking.
    void sync(const Block& block);
    bool isCurrent() const override;
    const std::string& label() const { return m_sLabel; }

private:
    struct State;

    const std::string m_sLabel;
    std::shared_ptr<State> m_pState;  // shared with the thread, which may outlive us
    std::thread m_thread;
};

}  // namespace dispatch
