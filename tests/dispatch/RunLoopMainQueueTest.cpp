#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "dispatch/RunLoopMainQueue.h"

using namespace std::chrono_literals;
using dispatch::RunLoopMainQueue;

namespace {

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

}  // namespace
