#include "dispatch/SerialQueue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

using namespace std::chrono_literals;
using dispatch::SerialQueue;

namespace {

TEST(SerialQueue, RunsBlocksOneAtATimeInSubmissionOrder) {
    std::vector<int> order;
    std::atomic<int> running{0};
    std::atomic<int> overlap{0};
    {
        SerialQueue queue("test.serial");
        for (int i = 0; i < 1000; ++i) {
            queue.async([&, i] {
                if (running.fetch_add(1) != 0) ++overlap;
                order.push_back(i);
                running.fetch_sub(1);
            });
        }
    }  // the destructor drains before joining
    ASSERT_EQ(order.size(), 1000u);
    for (int i = 0; i < 1000; ++i) EXPECT_EQ(order[i], i);
    EXPECT_EQ(overlap.load(), 0);
}

TEST(SerialQueue, SyncWaitsForTheBlockAndRunsInlineOnItsOwnThread) {
    SerialQueue queue("test.sync");
    EXPECT_EQ(queue.label(), "test.sync");
    EXPECT_FALSE(queue.isCurrent());
    int value = 0;
    queue.async([&] {
        std::this_thread::sleep_for(10ms);
        value = 1;
    });
    queue.sync([&] { value *= 10; });  // runs after the slow block
    EXPECT_EQ(value, 10);

    bool inner = false;
    bool current = false;
    queue.sync([&] {
        current = queue.isCurrent();
        queue.sync([&] { inner = true; });  // would deadlock if it queued
    });
    EXPECT_TRUE(current);
    EXPECT_TRUE(inner);
}

TEST(SerialQueue, ManyProducersLoseNothing) {
    std::atomic<int> count{0};
    {
        SerialQueue queue("test.producers");
        std::vector<std::thread> producers;
        for (int t = 0; t < 4; ++t) {
            producers.emplace_back([&] {
                for (int i = 0; i < 500; ++i) queue.async([&] { ++count; });
            });
        }
        for (auto& producer : producers) producer.join();
    }
    EXPECT_EQ(count.load(), 2000);
}

TEST(SerialQueue, CanBeReleasedByItsOwnBlock) {
    auto queue = std::make_shared<SerialQueue>("test.self");
    SerialQueue* raw = queue.get();
    std::atomic<int> ran{0};
    std::atomic<bool> bothQueued{false};
    // The block holds the last reference, so the destructor runs on the queue's
    // own thread; the block queued behind it must still run afterwards.
    raw->async([&, keep = std::move(queue)]() mutable {
        while (!bothQueued.load()) std::this_thread::yield();
        keep.reset();
        ++ran;
    });
    raw->async([&ran] { ++ran; });
    bothQueued = true;
    for (int i = 0; i < 1000 && ran.load() < 2; ++i) std::this_thread::sleep_for(2ms);
    EXPECT_EQ(ran.load(), 2);
}

}  // namespace
