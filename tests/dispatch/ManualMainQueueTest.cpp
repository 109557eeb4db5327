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

}  // namespace
