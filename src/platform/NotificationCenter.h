#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace platform {

// One posted notification: a name, the object that posted it (compared by
// identity only, never dereferenced) and string values keyed by name.
struct Notification {
    std::string name;
    const void* object = nullptr;
    std::map<std::string, std::string> userInfo;
};

// An in-process notification centre. Observers are called synchronously on
// the posting thread, in the order they were added. Adding and removing is
// safe from any thread; an observer removed during a post (by itself or by an
// earlier observer) is not called for it, and one added during a post waits
// for the next.
class NotificationCenter {
public:
    using Observer = std::function<void(const Notification&)>;
    using ObserverToken = std::uint64_t;

    // The workspace's centre, on which file-system watchers post.
    static NotificationCenter& workspaceCenter();

    NotificationCenter() = default;
    NotificationCenter(const NotificationCenter&) = delete;
    NotificationCenter& operator=(const NotificationCenter&) = delete;

    // Observes posts of `name` (empty: every name) by `object` (null: any
    // sender). The token removes the observer again.
    ObserverToken addObserverForName(const std::string& name, const void* object, Observer block);
    void removeObserver(ObserverToken token);

    void postNotificationName(const std::string& name, const void* object,
                              std::map<std::string, std::string> userInfo = {});

private:
    struct Registration {
        ObserverToken token;
        std::string name;
        const void* object;
        Observer block;
    };

    bool isRegistered(ObserverToken token) const;

    mutable std::mutex m_lock;
    ObserverToken m_nLastToken = 0;
    std::vector<std::shared_ptr<const Registration>> m_arrObservers;
};

}  // namespace platform
