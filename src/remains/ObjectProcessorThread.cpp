#include "remains/ObjectProcessorThread.h"

#include "dispatch/MainQueue.h"

std::shared_ptr<ObjectProcessorThread> ObjectProcessorThread::create(
    ObjectProcessorThreadManager& manager, std::shared_ptr<ObjectProcessorWorker> worker) {
    std::shared_ptr<ObjectProcessorThread> thread(
        new ObjectProcessorThread(manager, std::move(worker)));
    thread->m_pCtrl = std::make_shared<StartStopTrigger>(thread);
    return thread;
}

ObjectProcessorThread::ObjectProcessorThread(ObjectProcessorThreadManager& manager,
                                             std::shared_ptr<ObjectProcessorWorker> worker)
    : m_pManager(&manager),
      m_workGroup(manager.getWorkDispatchGroup()),
      m_pWorker(std::move(worker)),
      m_pWorkQueue(std::make_unique<dispatch::SerialQueue>("ObjectProcessorThreaded work queue")) {}

ObjectProcessorThread::~ObjectProcessorThread() {
    shutdown();
}

void ObjectProcessorThread::shutdown() {
    m_bIsShutDown.store(true, std::memory_order_release);
    std::unique_ptr<dispatch::SerialQueue> queue;
    {
        std::lock_guard guard(m_queueLock);
        queue = std::move(m_pWorkQueue);
    }
    queue.reset();  // lets the blocks already queued run, then joins
}

void ObjectProcessorThread::startLoopWithCycleIndex(std::uint32_t cycleIndex) {
    m_workGroup.enter();
    post(cycleIndex);
}

void ObjectProcessorThread::onTriggerStarted(StartStopTrigger& trigger) {
    if (&trigger != m_pCtrl.get()) return;
    startLoopWithCycleIndex(trigger.cycle());
}

void ObjectProcessorThread::onTriggerStopped(StartStopTrigger&) {}

// Runs the loop on the queue; the caller has entered the group for it. The
// block may use the worker freely: shutdown() waits for it.
void ObjectProcessorThread::post(std::uint32_t cycleIndex) {
    std::lock_guard guard(m_queueLock);
    if (!m_pWorkQueue) {
        m_workGroup.leave();
        return;
    }
    m_pWorkQueue->async([this, cycleIndex] { runLoop(cycleIndex); });
}

void ObjectProcessorThread::runLoop(std::uint32_t cycleIndex) {
    while (m_pCtrl->cycle() == cycleIndex && !m_bIsShutDown.load(std::memory_order_acquire)) {
        ProcessorObject object = m_pManager->requestObjectForProcessor(*this);
        if (!object.has_value()) {
            m_workGroup.leave();
            scheduleIdlePoll(cycleIndex);
            return;
        }
        m_pWorker->performWorkForObject(object);
    }
    m_workGroup.leave();
}

void ObjectProcessorThread::scheduleIdlePoll(std::uint32_t cycleIndex) {
    dispatch::MainQueue::main().after(kIdlePollInterval, [weakSelf = weak_from_this(), cycleIndex] {
        auto self = weakSelf.lock();
        // A stopped loop would only enter the group to leave it again.
        if (!self || self->m_pCtrl->cycle() != cycleIndex) return;
        if (self->m_bIsShutDown.load(std::memory_order_acquire)) return;
        self->startLoopWithCycleIndex(cycleIndex);
    });
}
