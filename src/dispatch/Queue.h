#pragma once

#include <chrono>
#include <functional>

namespace dispatch {

using Block = std::function<void()>;
using Duration = std::chrono::nanoseconds;
// Both the real and the virtual clock count on the steady clock's time line.
using TimePoint = std::chrono::steady_clock::time_point;

// Anything a block can be sent to: the main queue or a serial queue.
class Queue {
public:
    virtual ~Queue() = default;
    // Runs the block later, on the queue's thread, in submission order.
    virtual void async(Block block) = 0;
    // True when the calling thread is the one this queue runs its blocks on.
    virtual bool isCurrent() const = 0;
};

}  // namespace dispatch
