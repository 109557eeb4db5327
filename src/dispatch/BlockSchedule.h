#pragma once

#include <cstdint>
#include <optional>
#include <queue>
#include <vector>

#include "dispatch/Queue.h"
#include "dispatch/TimerHandle.h"

namespace dispatch {

// The pending blocks of a main queue, ordered by due time and then by
// submission, so that blocks due together keep their order. Plain async
// blocks are simply due "now". Not thread-safe: its queue holds the lock.
class BlockSchedule {
public:
    struct Entry {
        TimePoint due;
        std::uint64_t sequence;
        Block block;
        TimerHandle handle;  // invalid for plain async blocks
    };

    void add(TimePoint due, Block block, TimerHandle handle = {});
    // Takes the earliest entry due at or before `limit`, skipping cancelled ones.
    std::optional<Entry> takeDue(TimePoint limit);
    // Due time of the earliest live entry, if any.
    std::optional<TimePoint> nextDue();
    std::size_t size() const { return m_queue.size(); }
    void clear();

private:
    struct Later {
        bool operator()(const Entry& a, const Entry& b) const {
            return a.due != b.due ? a.due > b.due : a.sequence > b.sequence;
        }
    };
    void dropCancelled();

    std::priority_queue<Entry, std::vector<Entry>, Later> m_queue;
    std::uint64_t m_nNextSequence = 0;
};

}  // namespace dispatch
