#include "app/QtMainQueue.h"

#include <QMetaObject>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <utility>

QtMainQueue::QtMainQueue() : m_owner(std::this_thread::get_id()) {}

QtMainQueue::~QtMainQueue() = default;

void QtMainQueue::async(dispatch::Block block) {
    // A queued call is posted as an event to the receiver's thread, in order,
    // and is safe from any thread.
    QMetaObject::invokeMethod(&m_receiver, std::move(block), Qt::QueuedConnection);
}

dispatch::TimerHandle QtMainQueue::after(dispatch::Duration delay, dispatch::Block block) {
    auto handle = dispatch::TimerHandle::make();
    // Rounded up: a block must never run before its delay has passed.
    const auto milliseconds =
        std::chrono::ceil<std::chrono::milliseconds>(std::max(delay, dispatch::Duration::zero()));
    auto fire = [handle, block = std::move(block)] {
        if (!handle.isCancelled()) block();
    };
    // Timers belong to the thread that starts them, so the timer is started
    // on the GUI thread even when the request comes from elsewhere.
    auto start = [this, milliseconds, fire = std::move(fire)]() mutable {
        QTimer::singleShot(milliseconds, Qt::PreciseTimer, &m_receiver, std::move(fire));
    };
    if (isCurrent()) {
        start();
    } else {
        QMetaObject::invokeMethod(&m_receiver, std::move(start), Qt::QueuedConnection);
    }
    return handle;
}

dispatch::TimePoint QtMainQueue::now() const {
    return std::chrono::steady_clock::now();
}

bool QtMainQueue::isCurrent() const {
    return std::this_thread::get_id() == m_owner;
}
