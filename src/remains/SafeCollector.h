#pragma once

#include <any>
#include <cstdint>
#include <memory>
#include <vector>

#include "dispatch/SerialQueue.h"

class SafeCollector;

// Receives the collected items in batches, on the collector's queue.
class SafeCollectorListener {
public:
    virtual ~SafeCollectorListener() = default;
    virtual void onSafeCollector(SafeCollector& collector, std::vector<std::any> pushItems) = 0;
};

// Gathers items from any thread and hands them to its listener in batches of
// at least `updateCount`, or at once when a push is forced.
class SafeCollector : public std::enable_shared_from_this<SafeCollector> {
public:
    static std::shared_ptr<SafeCollector> create(std::weak_ptr<SafeCollectorListener> listener,
                                                 std::int64_t setUpdateCountTo);

    void addObject(std::any object);
    void addObjects(std::vector<std::any> objects);
    // Hands over whatever has been collected, even nothing.
    void pushObjectsForced();
    // On the collector's queue: hands the items over when forced or when the
    // threshold is reached.
    void updateListenerForced(bool forced);

private:
    SafeCollector(std::weak_ptr<SafeCollectorListener> listener, std::int64_t updateCount);
    template <class Block>
    void onWorkQueue(Block block);

    std::weak_ptr<SafeCollectorListener> m_pListener;
    std::vector<std::any> m_arrItems;  // touched on the work queue only
    const std::int64_t m_nUpdateCount;
    std::int64_t m_nItemsCount = 0;
    dispatch::SerialQueue m_workQueue{"SafeCollector work queue"};  // last: goes first
};
