#pragma once

#include <QObject>
#include <thread>

#include "dispatch/MainQueue.h"

// The main queue of the running agent, backed by the Qt event loop of the
// thread that creates it (the GUI thread). Blocks may be posted from any
// thread; they run in submission order. Delays are measured on the
// monotonic clock, which is also what now() reads.
class QtMainQueue final : public dispatch::MainQueue {
public:
    QtMainQueue();
    ~QtMainQueue() override;

    void async(dispatch::Block block) override;
    dispatch::TimerHandle after(dispatch::Duration delay, dispatch::Block block) override;
    dispatch::TimePoint now() const override;
    bool isCurrent() const override;

private:
    // Lives on the GUI thread; queued calls to it are how blocks get there.
    QObject m_receiver;
    std::thread::id m_owner;
};
