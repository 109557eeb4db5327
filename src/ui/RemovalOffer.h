#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "dispatch/Queue.h"
#include "messages/PathForRemove.h"
#include "remains/SimpleRemainsInfo.h"
#include "ui/LocalizedStrings.h"

namespace platform {
class Bundle;
}

// What the notification offers, and when: which trashed applications may be
// offered at all, how those trashed while it shows join it (one set of
// remains per identifier, each bundle counted once), when losing the focus
// hides it, and the hand-over of the leftovers to the Main application. It
// draws nothing; its View is told what to show. It alone hears the remains'
// sizes arrive, so whatever draws it need not know where they come from.
// Main thread only.
class RemovalOffer : public SimpleRemainsInfoListener,
                     public std::enable_shared_from_this<RemovalOffer> {
public:
    // What the offer needs of one identifier's remains.
    class Remains {
    public:
        virtual ~Remains() = default;
        virtual void addBundle(const std::shared_ptr<platform::Bundle>& bundle) = 0;
        virtual std::uint64_t getTotalSize() const = 0;
        virtual void addRemoveObjectPathsToArray(
            std::vector<std::shared_ptr<PathForRemove>>& array) const = 0;
    };

    // The window, as the offer drives it.
    class View {
    public:
        virtual ~View() = default;
        // The description changed.
        virtual void updateText() = 0;
        // Show, or show again, with a fade-in.
        virtual void showNotification() = 0;
        // Go away at once.
        virtual void closeWindow() = 0;
    };

    // The world the offer acts on.
    struct Environment {
        // Calls okBlock (on any thread) only if a notification may be shown.
        std::function<void(const std::optional<std::string>& bundleId,
                           std::function<void()> okBlock)>
            calculateIsCanShowNotificationForBundleWithID;
        // The remains of a first bundle of an identifier, which tell
        // `listener` of each change of their size; null when there are none
        // to find.
        std::function<std::shared_ptr<Remains>(const std::shared_ptr<platform::Bundle>& bundle,
                                               std::weak_ptr<SimpleRemainsInfoListener> listener)>
            createRemainsInfo;
        std::function<void(const std::vector<std::shared_ptr<PathForRemove>>& paths)>
            removeFilePaths;
        std::function<bool(const std::string& url)> openURL;
        std::string helpURL;
    };

    static std::shared_ptr<RemovalOffer> create(Environment environment);
    void setView(std::weak_ptr<View> view) { m_pView = std::move(view); }

    // Offers the application just moved to the Trash; null is ignored.
    void showNotificationForApp(const std::shared_ptr<platform::Bundle>& bundle);
    // Forgets every application and closes the window.
    void hideNotification();
    // The window stopped being active: it hides, unless it has been showing
    // for kResignGrace or less.
    void windowDidResignKey();
    void onShowHelp();
    void onSelectCompleteUninstall();

    // A size arrived: the view redraws the description.
    void onSimpleRemainsInfoChanged(const std::shared_ptr<SimpleRemainsInfo>& info) override;

    // The description's markup in the language of `texts`; empty while
    // nothing is offered.
    std::string descriptionMarkup(const LocalizedStrings& texts) const;

    static constexpr std::chrono::seconds kResignGrace{2};

    bool isActive() const { return m_bIsActive; }
    std::int64_t otherAppCount() const { return m_nOtheAppCount; }
    const std::string& mainAppName() const { return m_sMainAppName; }
    const std::optional<dispatch::TimePoint>& showDate() const { return m_pShowDate; }
    // The remains by identifier, in the order the identifiers came.
    const std::vector<std::pair<std::string, std::shared_ptr<Remains>>>& removeInfo() const {
        return m_arrRemoveInfo;
    }
    const std::map<std::string, std::shared_ptr<platform::Bundle>>& removedApps() const {
        return m_arrRemovedApps;
    }
    std::uint64_t totalSize() const;

private:
    explicit RemovalOffer(Environment environment) : m_environment(std::move(environment)) {}
    void acceptBundle(const std::shared_ptr<platform::Bundle>& bundle);
    Remains* remainsInfoForBundleID(const std::string& bundleId) const;

    Environment m_environment;
    std::weak_ptr<View> m_pView;
    std::optional<dispatch::TimePoint> m_pShowDate;
    std::string m_sMainAppName;
    std::vector<std::pair<std::string, std::shared_ptr<Remains>>> m_arrRemoveInfo;
    std::map<std::string, std::shared_ptr<platform::Bundle>> m_arrRemovedApps;
    std::int64_t m_nOtheAppCount = 0;
    bool m_bIsActive = false;
};
