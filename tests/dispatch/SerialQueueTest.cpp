#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "dispatch/Group.h"
#include "dispatch/SerialQueue.h"

using namespace std::chrono_literals;
using dispatch::SerialQueue;

namespace {

// Producers on several threads; the group is entered on theirs and left on the queue's.
TEST(SerialQueue, RunsBlocksOneAtATimeInOrderAndLosesNothing) {
    constexpr int kProducers = 4;
    constexpr int kEach = 500;
    std::vector<std::vector<int>> order(kProducers);  // touched only on the queue
    std::atomic<int> running{0};
    std::atomic<int> overlap{0};
    dispatch::Group group;
    {
        SerialQueue queue("test.serial");
        std::vector<std::thread> producers;
        for (int t = 0; t < kProducers; ++t) {
            producers.emplace_back([&, t] {
                for (int i = 0; i < kEach; ++i) {
                    group.enter();
                    queue.async([&, t, i] {
                        if (running.fetch_add(1) != 0) ++overlap;
                        order[t].push_back(i);
                        running.fetch_sub(1);
                        group.leave();
                    });
                }
            });
        }
        for (auto& producer : producers) producer.join();
    }  // the destructor drains before joining
    EXPECT_TRUE(group.wait(0ms));
    for (const auto& one : order) {
        ASSERT_EQ(one.size(), static_cast<std::size_t>(kEach));
        EXPECT_TRUE(std::is_sorted(one.begin(), one.end()));
    }
    EXPECT_EQ(overlap.load(), 0);
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
