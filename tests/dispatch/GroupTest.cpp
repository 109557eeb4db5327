#include "dispatch/Group.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "dispatch/ManualMainQueue.h"
#include "dispatch/SerialQueue.h"

using namespace std::chrono_literals;
using dispatch::Group;
using dispatch::ManualMainQueue;

namespace {

TEST(Group, NotifiesOnceTheCountReachesZero) {
    struct Case {
        int enters;
        int leavesBeforeNotify;
        int leavesAfterNotify;
        bool notified;
    };
    const std::vector<Case> cases = {
        {0, 0, 0, true},   // empty group: at once
        {1, 1, 0, true},   // already drained
        {2, 0, 2, true},   // drained later
        {3, 1, 1, false},  // one still inside
        {1, 0, 3, true},   // extra leaves are ignored
    };
    for (const auto& c : cases) {
        ManualMainQueue queue;
        Group group;
        for (int i = 0; i < c.enters; ++i) group.enter();
        for (int i = 0; i < c.leavesBeforeNotify; ++i) group.leave();
        int notified = 0;
        group.notify(queue, [&] { ++notified; });
        for (int i = 0; i < c.leavesAfterNotify; ++i) group.leave();
        queue.runUntilIdle();
        EXPECT_EQ(notified, c.notified ? 1 : 0) << c.enters << "/" << c.leavesBeforeNotify;
    }
}

TEST(Group, ExtraLeavesDoNotLetLaterWorkSlipThrough) {
    ManualMainQueue queue;
    Group group;
    group.leave();  // ignored: the count stays at zero
    group.enter();
    int notified = 0;
    group.notify(queue, [&] { ++notified; });
    queue.runUntilIdle();
    EXPECT_EQ(notified, 0);
    group.leave();
    queue.runUntilIdle();
    EXPECT_EQ(notified, 1);
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
    for (int w = 0; w < 4; ++w) {
        workers.push_back(std::make_unique<dispatch::SerialQueue>("test.worker"));
    }
    for (int i = 0; i < 400; ++i) {
        group.enter();
        workers[i % 4]->async([&done, group]() mutable {
            ++done;
            group.leave();
        });
    }
    int first = 0;
    int second = 0;
    group.notify(main, [&] { first = done.load(); });
    group.notify(main, [&] { second = done.load(); });
    EXPECT_TRUE(group.wait(10s));
    main.runUntilIdle();
    EXPECT_EQ(first, 400);
    EXPECT_EQ(second, 400);
}

}  // namespace
