#pragma once

#include <any>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>

#include "dispatch/Group.h"
#include "dispatch/SerialQueue.h"
#include "remains/StartStopTrigger.h"

class ObjectProcessorThread;

// One piece of work. Any copyable value; an empty one stands for nil.
using ProcessorObject = std::any;

// Does the work for one object, on the calling worker's queue.
class ObjectProcessorWorker {
public:
    virtual ~ObjectProcessorWorker() = default;
    virtual void performWorkForObject(const ProcessorObject& object) = 0;
};

// What a worker loop asks of the pool it belongs to.
class ObjectProcessorThreadManager {
public:
    virtual ~ObjectProcessorThreadManager() = default;
    // The next object to work on, or an empty value when there is none.
    virtual ProcessorObject requestObjectForProcessor(ObjectProcessorThread& processor) = 0;
    // The group that counts the loops that are busy.
    virtual dispatch::Group getWorkDispatchGroup() = 0;
};

// One worker: a loop on its own serial queue that takes objects from the
// manager until its trigger is stopped. While the pile is empty the loop is
// not kept waiting on its queue: it leaves the group, so the pool can see
// that nothing is being worked on, and looks again a second later on the
// main queue's clock.
//
// The manager owns its workers and shuts them down before it goes, so a
// worker refers to it without owning it, and nothing on the worker's own
// thread ever holds the worker or the manager: neither can be destroyed there.
class ObjectProcessorThread : public StartStopTriggerListener,
                              public std::enable_shared_from_this<ObjectProcessorThread> {
public:
    static constexpr std::chrono::seconds kIdlePollInterval{1};

    static std::shared_ptr<ObjectProcessorThread> create(
        ObjectProcessorThreadManager& manager, std::shared_ptr<ObjectProcessorWorker> worker);
    ~ObjectProcessorThread() override;
    ObjectProcessorThread(const ObjectProcessorThread&) = delete;
    ObjectProcessorThread& operator=(const ObjectProcessorThread&) = delete;

    // Ends the loops: the object being worked on is finished, nothing more
    // is taken, and this returns once the queue has run dry. Not from the
    // worker's own queue.
    void shutdown();

    std::shared_ptr<StartStopTrigger> getController() const { return m_pCtrl; }
    // Enters the group and runs a loop that lasts while the trigger stays in `cycleIndex`.
    void startLoopWithCycleIndex(std::uint32_t cycleIndex);

    void onTriggerStarted(StartStopTrigger& trigger) override;
    // Nothing to do: the trigger's new cycle ends the running loop.
    void onTriggerStopped(StartStopTrigger& trigger) override;

private:
    ObjectProcessorThread(ObjectProcessorThreadManager& manager,
                          std::shared_ptr<ObjectProcessorWorker> worker);

    void post(std::uint32_t cycleIndex);
    void runLoop(std::uint32_t cycleIndex);
    void scheduleIdlePoll(std::uint32_t cycleIndex);

    ObjectProcessorThreadManager* m_pManager;
    dispatch::Group m_workGroup;
    std::shared_ptr<StartStopTrigger> m_pCtrl;
    std::shared_ptr<ObjectProcessorWorker> m_pWorker;
    std::atomic<bool> m_bIsShutDown{false};
    std::mutex m_queueLock;  // guards the queue's going away against posts
    std::unique_ptr<dispatch::SerialQueue> m_pWorkQueue;
};
