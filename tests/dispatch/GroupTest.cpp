#include <gtest/gtest.h>

#include <atomic>
#include <vector>

#include "dispatch/Group.h"
#include "dispatch/ManualMainQueue.h"
#include "dispatch/SerialQueue.h"

using namespace std::chrono_literals;
using dispatch::Group;
using dispatch::ManualMainQueue;

namespace {

TEST(Group, NotifiesOnceTheCountReachesZero) {
    const struct {
        int leavesFirst, enters, leavesBeforeNotify, leavesAfterNotify;
        bool notified;
    } cases[] = {
        {0, 0, 0, 0, true},   // empty group: at once
        {0, 1, 1, 0, true},   // already drained
        {0, 2, 0, 2, true},   // drained later
        {0, 3, 1, 1, false},  // one still inside
        {0, 1, 0, 3, true},   // extra leaves are ignored...
        {1, 1, 0, 0, false},  // ...and never let later work slip through
        {1, 1, 0, 1, true},
    };
    for (const auto& c : cases) {
        ManualMainQueue queue;
        Group group;
        for (int i = 0; i < c.leavesFirst; ++i) group.leave();
        for (int i = 0; i < c.enters; ++i) group.enter();
        for (int i = 0; i < c.leavesBeforeNotify; ++i) group.leave();
        int notified = 0;
        group.notify(queue, [&] { ++notified; });
        for (int i = 0; i < c.leavesAfterNotify; ++i) group.leave();
        queue.runUntilIdle();
        EXPECT_EQ(notified, c.notified ? 1 : 0)
            << c.leavesFirst << "/" << c.enters << "/" << c.leavesBeforeNotify;
    }
}

TEST(Group, WaitTimesOutWhileWorkIsOutstanding) {
    Group group;
    EXPECT_TRUE(group.wait(0ms));
    group.enter();
    EXPECT_FALSE(group.wait(20ms));
    group.leave();
    EXPECT_TRUE(group.wait(0ms));
}

TEST(Group, TracksWorkAcrossSerialQueuesAndNotifiesEveryListener) {
    ManualMainQueue main;
    std::atomic<int> done{0};
    Group group;
    std::vector<std::unique_ptr<dispatch::SerialQueue>> workers;
    for (int w = 0; w < 4; ++w) workers.push_back(std::make_unique<dispatch::SerialQueue>("w"));
    for (int i = 0; i < 400; ++i) {
        group.enter();
        workers[i % 4]->async([&done, group]() mutable {
            ++done;
            group.leave();
        });
    }
    std::vector<int> seen;
    group.notify(main, [&] { seen.push_back(done.load()); });
    group.notify(main, [&] { seen.push_back(done.load()); });
    EXPECT_TRUE(group.wait(10s));
    main.runUntilIdle();
    EXPECT_EQ(seen, (std::vector<int>{400, 400}));
}

}  // namespace
