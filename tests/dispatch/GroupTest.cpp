#include <gtest/gtest.h>

#include "dispatch/Group.h"
#include "dispatch/ManualMainQueue.h"

using namespace std::chrono_literals;
using dispatch::Group;
using dispatch::ManualMainQueue;

namespace {

TEST(Group, NotifiesAndStopsWaitingOnceTheCountReachesZero) {
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
        group.notify(queue, [&] { ++notified; });  // every listener hears it
        for (int i = 0; i < c.leavesAfterNotify; ++i) group.leave();
        queue.runUntilIdle();
        EXPECT_EQ(group.wait(c.notified ? 0ms : 20ms), c.notified);
        EXPECT_EQ(notified, c.notified ? 2 : 0)
            << c.leavesFirst << "/" << c.enters << "/" << c.leavesBeforeNotify;
    }
}

}  // namespace
