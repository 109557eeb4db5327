#include "remains/ObjectsProcessor.h"

#include "dispatch/MainQueue.h"

// The way back into the pool for everything that may outlive it: the
// trigger (which callers can keep), group notifications and timers. Calls go
// through under the link's lock, and shutdown() cuts the link under it, so
// after that nothing reaches the pool.
struct ObjectsProcessor::Link : StartStopTriggerListener {
    std::mutex lock;
    ObjectsProcessor* pool = nullptr;

    template <class Call>
    void with(Call call) {
        std::lock_guard guard(lock);
        if (pool != nullptr) call(*pool);
    }
    void onTriggerStarted(StartStopTrigger& trigger) override {
        with([&](ObjectsProcessor& pool) { pool.onTriggerStarted(trigger); });
    }
    void onTriggerStopped(StartStopTrigger& trigger) override {
        with([&](ObjectsProcessor& pool) { pool.onTriggerStopped(trigger); });
    }
};

namespace {

// Group::notify keeps a plain pointer to the queue it is given, and the pool
// may be gone by the time the group drains. So the notification goes through
// a forwarder that the notified block itself owns: it lives exactly as long
// as the notification and passes the block on only through the link.
class LinkedQueue final : public dispatch::Queue {
public:
    explicit LinkedQueue(std::function<void(dispatch::Block)> forward)
        : m_fnForward(std::move(forward)) {}
    void async(dispatch::Block block) override { m_fnForward(std::move(block)); }
    bool isCurrent() const override { return false; }

private:
    std::function<void(dispatch::Block)> m_fnForward;
};

}  // namespace

std::shared_ptr<ObjectsProcessor> ObjectsProcessor::create(
    long countOfWorkers, std::weak_ptr<ObjectProcessorDelegate> delegate, bool autoStart) {
    std::shared_ptr<ObjectsProcessor> pool(new ObjectsProcessor(std::move(delegate), autoStart));
    auto owner = pool->m_pDelegate.lock();
    for (long i = 0; i < countOfWorkers; ++i) {
        std::shared_ptr<ObjectProcessorWorker> worker = owner ? owner->createWorker() : nullptr;
        if (!worker) continue;  // a worker that does nothing would only eat objects
        pool->m_arrWorkers.push_back(ObjectProcessorThread::create(*pool, std::move(worker)));
    }
    return pool;
}

ObjectsProcessor::ObjectsProcessor(std::weak_ptr<ObjectProcessorDelegate> delegate, bool autoStart)
    : m_pDelegate(std::move(delegate)),
      m_bAutoStart(autoStart),
      m_bIsNeedAutoStart(autoStart),
      m_pLink(std::make_shared<Link>()),
      m_pCtrl(std::make_shared<StartStopTrigger>(m_pLink)),
      m_pWorkQueue(std::make_unique<dispatch::SerialQueue>("ObjectsProcessor work queue")) {
    m_pLink->pool = this;
}

ObjectsProcessor::~ObjectsProcessor() {
    shutdown();
}

void ObjectsProcessor::shutdown() {
    m_bIsShutDown.store(true, std::memory_order_release);
    {
        std::lock_guard guard(m_pLink->lock);
        m_pLink->pool = nullptr;
    }
    // Workers first: they ask the pile for objects and their leaving the
    // group posts to the work queue, which must still be there.
    for (auto& worker : m_arrWorkers) worker->shutdown();
    std::unique_ptr<dispatch::SerialQueue> queue;
    {
        std::lock_guard guard(m_queueLock);
        queue = std::move(m_pWorkQueue);
    }
    queue.reset();  // the blocks still queued find the pool shut down
}

void ObjectsProcessor::onWorkQueue(dispatch::Block block) {
    std::lock_guard guard(m_queueLock);
    if (!m_pWorkQueue) return;
    // The block may use the pool freely: shutdown() waits for it.
    m_pWorkQueue->async([this, block = std::move(block)] {
        if (!isShutDown()) block();
    });
}

void ObjectsProcessor::addObject(ProcessorObject object) {
    std::vector<ProcessorObject> objects;
    objects.push_back(std::move(object));
    addObjects(std::move(objects));
}

void ObjectsProcessor::addObjects(std::vector<ProcessorObject> objects) {
    auto shared = std::make_shared<std::vector<ProcessorObject>>(std::move(objects));
    onWorkQueue([this, shared] {
        std::lock_guard guard(m_accessToObjectsLock);
        for (auto& object : *shared) {
            // An empty value is what a worker reads as "nothing left": it cannot be work.
            if (object.has_value()) m_arrObjectsForWork.push_back(std::move(object));
        }
        if (m_bIsNeedAutoStart) m_pCtrl->start();
    });
}

std::size_t ObjectsProcessor::pendingObjectCount() {
    std::lock_guard guard(m_accessToObjectsLock);
    return m_arrObjectsForWork.size();
}

ProcessorObject ObjectsProcessor::requestObjectForProcessor(ObjectProcessorThread&) {
    std::lock_guard guard(m_accessToObjectsLock);
    if (m_arrObjectsForWork.empty()) return {};
    // Last in, first out on purpose: the newest request is the one the user
    // is most likely waiting for.
    ProcessorObject object = std::move(m_arrObjectsForWork.back());
    m_arrObjectsForWork.pop_back();
    return object;
}

void ObjectsProcessor::onTriggerStarted(StartStopTrigger& trigger) {
    if (&trigger != m_pCtrl.get()) return;
    onWorkQueue([this] { startWorkers(); });
}

void ObjectsProcessor::onTriggerStopped(StartStopTrigger& trigger) {
    if (&trigger != m_pCtrl.get()) return;
    onWorkQueue([this] { stopWorkers(); });
}

void ObjectsProcessor::startWorkers() {
    isWorking.store(true, std::memory_order_release);
    m_bIsNeedAutoStart = false;
    if (auto delegate = m_pDelegate.lock()) delegate->onObjectsProcessorWorkBegin(*this);
    for (auto& worker : m_arrWorkers) worker->getController()->start();
    scheduleIsWorkCompletedCheck();
}

void ObjectsProcessor::stopWorkers() {
    for (auto& worker : m_arrWorkers) worker->getController()->stop();
}

void ObjectsProcessor::scheduleIsWorkCompletedCheck() {
    auto forwarder = std::make_shared<LinkedQueue>([link = m_pLink](dispatch::Block block) {
        link->with([&](ObjectsProcessor& pool) { pool.onWorkQueue(std::move(block)); });
    });
    dispatch::Queue& queue = *forwarder;
    m_workDispatchGroup.notify(queue, [this, forwarder] { checkIsWorkCompleted(); });
}

void ObjectsProcessor::checkIsWorkCompleted() {
    // A check left over from an earlier run, or a second one of this run,
    // has nothing to do once the run is over.
    if (!isProcessorWorking()) return;
    std::lock_guard guard(m_accessToObjectsLock);
    const bool isGroupIdle = m_workDispatchGroup.wait(dispatch::Duration::zero());
    if (!isGroupIdle) {
        scheduleIsWorkCompletedCheck();
        return;
    }
    // Objects are waiting while no worker is busy: either the workers are in
    // their idle second and will take them, or there are no workers at all.
    // Looking again at once would spin on the queue, so look again when the
    // workers next look at the pile. A stopped pool takes nothing any more:
    // its pending objects are dropped now.
    if (!m_arrObjectsForWork.empty() && !m_pCtrl->isPaused()) {
        dispatch::MainQueue::main().after(
            ObjectProcessorThread::kIdlePollInterval, [link = m_pLink] {
                link->with([](ObjectsProcessor& pool) {
                    pool.onWorkQueue([&pool] { pool.checkIsWorkCompleted(); });
                });
            });
        return;
    }
    m_pCtrl->stop();
    m_arrObjectsForWork.clear();
    isWorking.store(false, std::memory_order_release);
    m_bIsNeedAutoStart = m_bAutoStart;
    if (auto delegate = m_pDelegate.lock()) delegate->onObjectsProcessorWorkCompleted(*this);
}
