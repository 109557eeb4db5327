#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <thread>

#include "app/QtMainQueue.h"

namespace {

using namespace std::chrono_literals;

TEST(QtMainQueue, RunsPostsAndTimersOnTheEventLoopThread) {
    if (QCoreApplication::instance() == nullptr) GTEST_SKIP() << "needs the application object";
    QtMainQueue queue;
    std::vector<std::string> order;
    std::atomic<bool> onLoopThread{true};

    const auto start = queue.now();
    dispatch::TimePoint lateRanAt{};
    queue.after(60ms, [&] {
        order.push_back("late");
        lateRanAt = queue.now();
    });
    queue.after(20ms, [&] { order.push_back("early"); });
    auto cancelled = queue.after(10ms, [&] { order.push_back("cancelled"); });
    cancelled.cancel();
    std::thread([&] {
        for (int i = 0; i < 3; ++i) {
            queue.async([&, i] {
                onLoopThread = onLoopThread && queue.isCurrent();
                order.push_back("post" + std::to_string(i));
            });
        }
        // A timer asked for from another thread still runs on the loop.
        queue.after(30ms, [&] { order.push_back("from thread"); });
    }).join();
    EXPECT_TRUE(queue.isCurrent());

    QElapsedTimer clock;
    clock.start();
    while (order.size() < 6 && clock.elapsed() < 5000) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
    EXPECT_EQ(order, (std::vector<std::string>{"post0", "post1", "post2", "early", "from thread",
                                               "late"}));
    EXPECT_TRUE(onLoopThread);
    EXPECT_GE(lateRanAt - start, 60ms);
}

}  // namespace
