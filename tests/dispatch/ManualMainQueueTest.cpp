#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "dispatch/ManualMainQueue.h"

using namespace std::chrono_literals;
using dispatch::ManualMainQueue;

namespace {

struct Post {
    std::string name;
    std::chrono::milliseconds delay;  // negative: plain async
};

TEST(ManualMainQueue, RunsBlocksByDueTimeThenSubmissionOrder) {
    struct Case {
        std::vector<Post> posts;
        std::chrono::milliseconds advance;
        std::string expected;
    };
    const std::vector<Case> cases = {
        {{{"a", -1ms}, {"b", -1ms}, {"c", -1ms}}, 0ms, "abc"},
        {{{"late", 300ms}, {"early", 100ms}, {"mid", 200ms}}, 1s, "early mid late"},
        {{{"t1", 100ms}, {"t2", 100ms}, {"now", -1ms}, {"zero", 0ms}}, 1s, "now zero t1 t2"},
        {{{"due", 100ms}, {"notyet", 101ms}}, 100ms, "due"},
        {{{"a", 5s}}, 4999ms, ""},
    };
    for (const auto& c : cases) {
        ManualMainQueue queue;
        std::string ran;
        auto record = [&ran](const std::string& name) {
            return [&ran, name] { ran += (ran.empty() || name.size() == 1 ? "" : " ") + name; };
        };
        for (const auto& post : c.posts) {
            if (post.delay < 0ms) {
                queue.async(record(post.name));
            } else {
                queue.after(post.delay, record(post.name));
            }
        }
        queue.advance(c.advance);
        EXPECT_EQ(ran, c.expected);
    }
}

TEST(ManualMainQueue, ClockStandsAtEachBlocksDueTimeAndEndsAtTheTarget) {
    ManualMainQueue queue;
    const auto start = queue.now();
    std::vector<dispatch::Duration> seen;
    queue.after(2s, [&] { seen.push_back(queue.now() - start); });
    queue.after(500ms, [&] {
        seen.push_back(queue.now() - start);
        // A block scheduled from inside a timer is measured from that timer's time.
        queue.after(1s, [&] { seen.push_back(queue.now() - start); });
    });
    EXPECT_EQ(queue.advance(10s), 3u);
    EXPECT_EQ(seen, (std::vector<dispatch::Duration>{500ms, 1500ms, 2s}));
    EXPECT_EQ(queue.now() - start, 10s);
}

TEST(ManualMainQueue, RunUntilIdleRunsChainsButNeverMovesTheClock) {
    ManualMainQueue queue;
    const auto start = queue.now();
    int depth = 0;
    std::function<void()> chain = [&] {
        if (++depth < 50) queue.async(chain);
    };
    queue.async(chain);
    bool timerRan = false;
    queue.after(1ns, [&] { timerRan = true; });
    EXPECT_EQ(queue.runUntilIdle(), 50u);
    EXPECT_EQ(depth, 50);
    EXPECT_FALSE(timerRan);
    EXPECT_EQ(queue.now(), start);
    // The thread that made it is its main thread; no other is.
    EXPECT_TRUE(queue.isCurrent());
    bool currentElsewhere = true;
    std::thread([&] { currentElsewhere = queue.isCurrent(); }).join();
    EXPECT_FALSE(currentElsewhere);
    ASSERT_TRUE(queue.nextDue().has_value());
    EXPECT_EQ(*queue.nextDue() - start, 1ns);
}

TEST(ManualMainQueue, CancelledTimersNeverRun) {
    ManualMainQueue queue;
    std::vector<std::string> ran;
    auto first = queue.after(1s, [&] { ran.push_back("first"); });
    dispatch::TimerHandle second;
    // Cancelling a timer due at the same moment from an earlier block still stops it.
    queue.after(2s, [&] {
        ran.push_back("canceller");
        second.cancel();
    });
    second = queue.after(2s, [&] { ran.push_back("second"); });
    auto third = queue.after(3s, [&] { ran.push_back("third"); });
    first.cancel();
    first.cancel();  // twice is harmless
    queue.advance(5s);
    third.cancel();  // after it ran: no effect
    EXPECT_EQ(ran, (std::vector<std::string>{"canceller", "third"}));
    EXPECT_FALSE(queue.nextDue().has_value());
    EXPECT_FALSE(dispatch::TimerHandle{}.isValid());
}

TEST(MainQueue, ScopedInstallReplacesAndRestoresTheProcessWideQueue) {
    auto outer = std::make_shared<ManualMainQueue>();
    dispatch::ScopedMainQueue installOuter(outer);
    {
        auto inner = std::make_shared<ManualMainQueue>();
        dispatch::ScopedMainQueue installInner(inner);
        EXPECT_EQ(&dispatch::MainQueue::main(), inner.get());
    }
    EXPECT_EQ(&dispatch::MainQueue::main(), outer.get());
}

}  // namespace
