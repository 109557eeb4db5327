#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/NotificationCenter.h"

using platform::Notification;
using platform::NotificationCenter;

namespace {

TEST(NotificationCenter, DeliversByNameAndSenderInOrderOfObserving) {
    NotificationCenter center;
    const int senderA = 0, senderB = 0;
    std::vector<std::string> log;
    auto record = [&log](std::string who) {
        return [&log, who](const Notification& n) {
            log.push_back(who + ":" + n.name + ":" +
                          (n.userInfo.count("path") ? n.userInfo.at("path") : ""));
        };
    };
    center.addObserverForName("X", nullptr, record("anyX"));
    const auto onlyA = center.addObserverForName("X", &senderA, record("aX"));
    center.addObserverForName("", &senderB, record("allB"));
    NotificationCenter::ObserverToken selfRemoving = 0;
    selfRemoving = center.addObserverForName("", nullptr, [&](const Notification&) {
        log.push_back("once");
        center.removeObserver(selfRemoving);
        center.removeObserver(onlyA);  // removed during the post: not called for it
    });
    center.addObserverForName("X", nullptr, record("lastX"));

    center.postNotificationName("X", &senderB, {{"path", "/p"}});
    center.postNotificationName("X", &senderA);
    center.postNotificationName("Y", &senderB);
    EXPECT_EQ(log, (std::vector<std::string>{"anyX:X:/p", "allB:X:/p", "once", "lastX:X:/p",
                                             "anyX:X:", "lastX:X:", "allB:Y:"}));
}

}  // namespace
