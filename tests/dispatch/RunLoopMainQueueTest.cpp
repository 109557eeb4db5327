#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "dispatch/RunLoopMainQueue.h"

using namespace std::chrono_literals;
using dispatch::RunLoopMainQueue;

namespace {

TEST(RunLoopMainQueue, RunsTimersInOrderOnTheRealClock) {
    RunLoopMainQueue queue;
    std::vector<int> ran;
    const auto start = queue.now();
    queue.after(60ms, [&] { ran.push_back(3); });
    queue.after(20ms, [&] { ran.push_back(2); });
    queue.async([&] { ran.push_back(1); });
    auto cancelled = queue.after(40ms, [&] { ran.push_back(99); });
    cancelled.cancel();
    ASSERT_TRUE(queue.runUntil([&] { return ran.size() == 3; }, 5s));
    EXPECT_EQ(ran, (std::vector<int>{1, 2, 3}));
    EXPECT_GE(queue.now() - start, 60ms);
    // A wait for something that never comes gives up at its deadline.
    bool late = false;
    queue.after(10s, [&] { late = true; });
    const auto waitStart = std::chrono::steady_clock::now();
    EXPECT_FALSE(queue.runUntil([&] { return late; }, 50ms));
    EXPECT_GE(std::chrono::steady_clock::now() - waitStart, 50ms);
}

TEST(RunLoopMainQueue, BlocksFromOtherThreadsRunOnTheLoopThread) {
    RunLoopMainQueue queue;
    constexpr int kThreads = 4;
    constexpr int kPerThread = 250;
    std::atomic<int> onLoop{0};
    int count = 0;  // only touched on the loop thread
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < kPerThread; ++i) {
                queue.async([&] {
                    ++count;
                    if (queue.isCurrent()) ++onLoop;
                });
            }
        });
    }
    EXPECT_TRUE(queue.runUntil([&] { return count == kThreads * kPerThread; }, 10s));
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(onLoop.load(), kThreads * kPerThread);
}

TEST(RunLoopMainQueue, StopFromAnotherThreadEndsRun) {
    RunLoopMainQueue queue;
    std::thread stopper([&] {
        std::this_thread::sleep_for(20ms);
        queue.stop();
    });
    queue.run();  // would hang for ever if stop were lost
    stopper.join();
    bool ranInside = false;
    queue.async([&] {
        ranInside = true;
        queue.stop();
    });
    queue.run();
    EXPECT_TRUE(ranInside);
}

}  // namespace
