#include "platform/NotificationCenter.h"

#include <algorithm>

namespace platform {

NotificationCenter& NotificationCenter::workspaceCenter() {
    static NotificationCenter center;
    return center;
}

NotificationCenter::ObserverToken NotificationCenter::addObserverForName(const std::string& name,
                                                                         const void* object,
                                                                         Observer block) {
    std::lock_guard guard(m_lock);
    const ObserverToken token = ++m_nLastToken;
    m_arrObservers.push_back(
        std::make_shared<const Registration>(Registration{token, name, object, std::move(block)}));
    return token;
}

void NotificationCenter::removeObserver(ObserverToken token) {
    std::lock_guard guard(m_lock);
    m_arrObservers.erase(
        std::remove_if(m_arrObservers.begin(), m_arrObservers.end(),
                       [token](const auto& observer) { return observer->token == token; }),
        m_arrObservers.end());
}

bool NotificationCenter::isRegistered(ObserverToken token) const {
    std::lock_guard guard(m_lock);
    return std::any_of(m_arrObservers.begin(), m_arrObservers.end(),
                       [token](const auto& observer) { return observer->token == token; });
}

void NotificationCenter::postNotificationName(const std::string& name, const void* object,
                                              std::map<std::string, std::string> userInfo) {
    const Notification notification{name, object, std::move(userInfo)};
    // Observers run without the lock held, so that they may add and remove.
    std::vector<std::shared_ptr<const Registration>> observers;
    {
        std::lock_guard guard(m_lock);
        observers = m_arrObservers;
    }
    for (const auto& observer : observers) {
        if (!observer->name.empty() && observer->name != name) continue;
        if (observer->object != nullptr && observer->object != object) continue;
        if (!isRegistered(observer->token)) continue;
        observer->block(notification);
    }
}

}  // namespace platform
