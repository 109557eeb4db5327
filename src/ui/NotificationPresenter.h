#pragma once

#include <memory>

namespace platform {
class Bundle;
}

// The notification as the application delegate drives it, whichever kind
// draws it (the agent's own window or the desktop's notification).
class NotificationPresenter {
public:
    virtual ~NotificationPresenter() = default;
    // Offers the application just moved to the Trash; null is ignored.
    virtual void showNotificationForApp(const std::shared_ptr<platform::Bundle>& bundle) = 0;
    // The Helper was started again, with no file to open.
    virtual void reopened() {}
};
