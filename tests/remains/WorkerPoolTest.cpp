#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <mutex>
#include <string>
#include <vector>

#include "RemainsTestSupport.h"
#include "remains/ObjectsProcessor.h"
#include "remains/SafeCollector.h"

namespace {

using namespace std::chrono_literals;

// Records the objects it is given, in order. An object equal to kGate holds
// its worker until the gate opens.
class Recorder : public ObjectProcessorDelegate, public ObjectProcessorWorker {
public:
    static constexpr int kGate = -1;

    std::shared_ptr<ObjectProcessorWorker> createWorker() override {
        return std::shared_ptr<ObjectProcessorWorker>(std::shared_ptr<void>(), this);
    }
    void onObjectsProcessorWorkBegin(ObjectsProcessor&) override { ++begun; }
    void onObjectsProcessorWorkCompleted(ObjectsProcessor&) override { ++completed; }
    void performWorkForObject(const ProcessorObject& object) override {
        const int value = std::any_cast<int>(object);
        if (value == kGate) {
            gateReached = true;
            m_gate.wait();
        }
        std::lock_guard guard(m_lock);
        m_arrDone.push_back(value);
    }
    std::vector<int> done() {
        std::lock_guard guard(m_lock);
        return m_arrDone;
    }
    void open() { m_opening.set_value(); }

    std::atomic<bool> gateReached{false};
    std::atomic<int> begun{0}, completed{0};

private:
    std::promise<void> m_opening;
    std::shared_future<void> m_gate = m_opening.get_future().share();
    std::mutex m_lock;
    std::vector<int> m_arrDone;
};

class WorkerPool : public ::testing::Test {
protected:
    std::shared_ptr<dispatch::ManualMainQueue> m_pQueue =
        std::make_shared<dispatch::ManualMainQueue>();
    dispatch::ScopedMainQueue m_scope{m_pQueue};
    // Made after the queue, so the pool goes first.
    std::shared_ptr<Recorder> m_pRecorder = std::make_shared<Recorder>();

    bool pumpUntil(const std::function<bool()>& done, dispatch::Duration step = {}) {
        return remainstest::pumpUntil(*m_pQueue, done, step);
    }
    bool completedTimes(const std::shared_ptr<ObjectsProcessor>& pool, int times) {
        return pumpUntil(
            [&] { return m_pRecorder->completed == times && !pool->isProcessorWorking(); });
    }
};

TEST_F(WorkerPool, StopEndsTheRunUnlessStartedAgain) {
    for (bool restart : {false, true}) {
        auto recorder = m_pRecorder = std::make_shared<Recorder>();
        auto pool = ObjectsProcessor::create(1, recorder, true);
        pool->addObject(Recorder::kGate);
        ASSERT_TRUE(pumpUntil([&] { return recorder->gateReached.load(); }));
        pool->addObjects({1, 2});
        pool->getController()->stop();
        if (restart) pool->getController()->start();
        // The stop reaches the worker through the work queue; an object added
        // after it lands behind it.
        pool->addObject(3);
        ASSERT_TRUE(pumpUntil([&] { return pool->pendingObjectCount() == 3; }));
        recorder->open();
        ASSERT_TRUE(completedTimes(pool, 1));
        // The object being worked on finishes. After a stop the pending ones
        // are dropped; after a restart a new loop takes them.
        const std::vector<int> expected = restart ? std::vector<int>{Recorder::kGate, 3, 2, 1}
                                                  : std::vector<int>{Recorder::kGate};
        EXPECT_EQ(recorder->done(), expected);
        EXPECT_EQ(recorder->begun, restart ? 2 : 1);
        // Auto-start is armed again: the next object starts a new run.
        pool->addObject(4);
        ASSERT_TRUE(completedTimes(pool, 2));
        EXPECT_EQ(recorder->done().back(), 4);
    }
}

TEST_F(WorkerPool, GoesAwayWhileAWorkerIsBusy) {
    auto pool = ObjectsProcessor::create(2, m_pRecorder, true);
    pool->addObjects({1, Recorder::kGate});
    ASSERT_TRUE(pumpUntil([&] { return m_pRecorder->gateReached.load(); }));
    std::thread opener([&] {
        std::this_thread::sleep_for(20ms);
        m_pRecorder->open();
    });
    pool.reset();  // waits for the busy worker to finish its object
    opener.join();
    m_pQueue->advance(5s);
    EXPECT_EQ(m_pRecorder->done().back(), Recorder::kGate);
}

struct CollectingListener : SafeCollectorListener {
    void onSafeCollector(SafeCollector&, std::vector<std::any> items) override {
        std::vector<int> batch;
        for (const auto& item : items) batch.push_back(std::any_cast<int>(item));
        std::lock_guard guard(lock);
        batches.push_back(batch);
    }
    std::size_t count() {
        std::lock_guard guard(lock);
        return batches.size();
    }
    std::mutex lock;
    std::vector<std::vector<int>> batches;
};

TEST(SafeCollector, HandsOverAtTheThresholdOrWhenForced) {
    using Batches = std::vector<std::vector<int>>;
    // Every case: add 1, add 2, force, add {3, 4, 5}, add 6, force.
    const struct {
        std::int64_t threshold;
        Batches expected;
    } cases[] = {
        {3, Batches{{1, 2}, {3, 4, 5}, {6}}},
        {0, Batches{{1}, {2}, {}, {3, 4, 5}, {6}, {}}},
        {10, Batches{{1, 2}, {3, 4, 5, 6}}},
    };
    for (const auto& c : cases) {
        auto listener = std::make_shared<CollectingListener>();
        auto collector = SafeCollector::create(listener, c.threshold);
        collector->addObject(1);
        collector->addObject(2);
        collector->pushObjectsForced();
        collector->addObjects({3, 4, 5});
        collector->addObject(6);
        collector->pushObjectsForced();
        const auto deadline = std::chrono::steady_clock::now() + testsupport::kPatience;
        while (listener->count() < c.expected.size() && std::chrono::steady_clock::now() < deadline) {
            std::this_thread::sleep_for(1ms);
        }
        collector.reset();  // lets every queued block finish
        EXPECT_EQ(listener->batches, c.expected) << "threshold " << c.threshold;
    }
}

}  // namespace
