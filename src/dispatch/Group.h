#pragma once

#include <memory>

#include "dispatch/Queue.h"

namespace dispatch {

// Counts outstanding work. Copies share one count, so a group can be
// captured by the blocks it tracks.
class Group {
public:
    Group();

    void enter();
    // A leave without a matching enter is ignored.
    void leave();
    // Sends `block` to `queue` once the count is zero: at once if it is zero
    // now, otherwise when the last leave happens. The queue must outlive that.
    void notify(Queue& queue, Block block);
    // Waits until the count is zero; false if `timeout` passed first.
    bool wait(Duration timeout) const;

private:
    struct State;
    std::shared_ptr<State> m_pState;
};

}  // namespace dispatch
