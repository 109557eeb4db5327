#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

#include "dispatch/Group.h"
#include "dispatch/SerialQueue.h"
#include "remains/ObjectProcessorThread.h"
#include "remains/StartStopTrigger.h"

class ObjectsProcessor;

// Supplies the pool's workers and hears when a run of work begins and ends.
// The two notices arrive on the pool's work queue.
class ObjectProcessorDelegate {
public:
    virtual ~ObjectProcessorDelegate() = default;
    // Called once per worker while the pool is being made.
    virtual std::shared_ptr<ObjectProcessorWorker> createWorker() = 0;
    virtual void onObjectsProcessorWorkBegin(ObjectsProcessor& processor) = 0;
    virtual void onObjectsProcessorWorkCompleted(ObjectsProcessor& processor) = 0;
};

// A pool of workers draining a shared pile of objects, newest first. With
// auto-start, the first object added starts the pool; once the pile is empty
// and no worker is busy the pool stops and waits for the next object.
//
// Nothing inside the pool ever holds the pool itself: its queues, its timers
// and its trigger reach it through a link that shutdown() cuts. So the pool
// goes on its owner's thread, and when it has gone no thread of it is left.
class ObjectsProcessor : public StartStopTriggerListener, public ObjectProcessorThreadManager {
public:
    // Exactly `countOfWorkers` workers (none for 0 or less), each made from
    // what the delegate's createWorker answers.
    static std::shared_ptr<ObjectsProcessor> create(long countOfWorkers,
                                                    std::weak_ptr<ObjectProcessorDelegate> delegate,
                                                    bool autoStart);
    ~ObjectsProcessor() override;
    ObjectsProcessor(const ObjectsProcessor&) = delete;
    ObjectsProcessor& operator=(const ObjectsProcessor&) = delete;

    // Empty values are ignored.
    void addObject(ProcessorObject object);
    void addObjects(std::vector<ProcessorObject> objects);

    // The pool's switch: start it, or stop it to drop what is pending.
    std::shared_ptr<StartStopTrigger> getController() const { return m_pCtrl; }
    bool isProcessorWorking() const { return isWorking.load(std::memory_order_acquire); }
    // Objects in the pile, not yet taken by a worker. Additions reach the
    // pile through the work queue, so a fresh one may not be counted yet.
    std::size_t pendingObjectCount();

    // Ends the pool for good: objects being worked on are finished, nothing
    // else runs, and every queue of the pool has run dry when this returns.
    // Also done by the destructor.
    void shutdown();

    dispatch::Group getWorkDispatchGroup() override { return m_workDispatchGroup; }
    ProcessorObject requestObjectForProcessor(ObjectProcessorThread& processor) override;

    void onTriggerStarted(StartStopTrigger& trigger) override;
    void onTriggerStopped(StartStopTrigger& trigger) override;

    struct Link;

private:
    ObjectsProcessor(std::weak_ptr<ObjectProcessorDelegate> delegate, bool autoStart);

    // Runs `block` on the work queue, unless the pool has been shut down by then.
    void onWorkQueue(dispatch::Block block);
    void startWorkers();
    void stopWorkers();
    void scheduleIsWorkCompletedCheck();
    void checkIsWorkCompleted();
    bool isShutDown() const { return m_bIsShutDown.load(std::memory_order_acquire); }

    std::weak_ptr<ObjectProcessorDelegate> m_pDelegate;
    const bool m_bAutoStart;
    bool m_bIsNeedAutoStart;  // touched on the work queue only
    std::vector<std::shared_ptr<ObjectProcessorThread>> m_arrWorkers;
    std::vector<ProcessorObject> m_arrObjectsForWork;
    dispatch::Group m_workDispatchGroup;
    std::shared_ptr<Link> m_pLink;
    std::shared_ptr<StartStopTrigger> m_pCtrl;
    std::recursive_mutex m_accessToObjectsLock;
    std::atomic<bool> isWorking{false};
    std::atomic<bool> m_bIsShutDown{false};
    std::mutex m_queueLock;  // guards the queue's going away against posts
    std::unique_ptr<dispatch::SerialQueue> m_pWorkQueue;
};
