#pragma once

#include <QPoint>
#include <QRect>
#include <QSize>
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
#include "ui/AttributedString.h"
#include "ui/LocalizedStrings.h"
#include "ui/MarkupStyler.h"

class CustomButton;
class MultilineWordWrapTextField;
class QLabel;
class QPropertyAnimation;
class RichNotificationWindow;
namespace platform {
class Bundle;
}
namespace Ui {
class RichNotificationWC;
}

// The notification window: tells the user how much the leftovers of the
// applications just moved to the Trash take, and offers to remove them
// ("Complete Uninstall"), to close, or to read help. Applications trashed
// while it shows join the same notification. Main thread only.
//
// The decisions (what is shown, counted, kept and handed over) live in plain
// members; the window is only told the outcome.
class RichNotificationWC : public SimpleRemainsInfoListener,
                           public std::enable_shared_from_this<RichNotificationWC> {
public:
    // What the window needs of one identifier's remains.
    class RemainsInfo {
    public:
        virtual ~RemainsInfo() = default;
        virtual void addBundle(const std::shared_ptr<platform::Bundle>& bundle) = 0;
        virtual std::uint64_t getTotalSize() const = 0;
        virtual void addRemoveObjectPathsToArray(
            std::vector<std::shared_ptr<PathForRemove>>& array) const = 0;
    };
    // The remains finder's object seen through RemainsInfo; null for null.
    static std::shared_ptr<RemainsInfo> remainsInfoFor(std::shared_ptr<SimpleRemainsInfo> info);

    // The world the controller acts on. standardEnvironment() is the agent's:
    // the remains finder, the Main application hand-over, xdg-open, the
    // primary screen and the main bundle's texts.
    struct Environment {
        // Calls okBlock (on any thread) only if a notification may be shown.
        std::function<void(const std::optional<std::string>& bundleId,
                           std::function<void()> okBlock)>
            calculateIsCanShowNotificationForBundleWithID;
        // The remains of a first bundle of an identifier, telling `listener`
        // of each change; null when there are none to find.
        std::function<std::shared_ptr<RemainsInfo>(
            const std::shared_ptr<platform::Bundle>& bundle,
            std::weak_ptr<SimpleRemainsInfoListener> listener)>
            createRemainsInfo;
        std::function<void(const std::vector<std::shared_ptr<PathForRemove>>& paths)>
            removeFilePaths;
        std::function<bool(const std::string& url)> openURL;
        // The primary screen's full frame; nullopt when there is no screen.
        std::function<std::optional<QRect>()> mainScreenFrame;
        // The texts' table; null for the main bundle's.
        std::shared_ptr<const LocalizedStrings> texts;
        std::string mainAppName;
        std::string helpURL;
    };
    static Environment standardEnvironment();

    // The controller with its window loaded (hidden).
    static std::shared_ptr<RichNotificationWC> create();
    static std::shared_ptr<RichNotificationWC> create(Environment environment);
    ~RichNotificationWC() override;
    RichNotificationWC(const RichNotificationWC&) = delete;
    RichNotificationWC& operator=(const RichNotificationWC&) = delete;

    // Offers the application just moved to the Trash; null is ignored.
    void showNotificationForApp(const std::shared_ptr<platform::Bundle>& bundle);

    void showNotification();
    void hideNotification();
    void updateText();
    AttributedString generateAttributedString() const;
    static std::shared_ptr<MarkupStyler> generateDefaultMarkupStyler();

    // The window's actions.
    void onShowHelp();
    void onNotificationClose();
    void onSelectCompleteUninstall();
    // The window stopped being active: it hides, unless it has been showing
    // for kResignGrace or less.
    void windowDidResignKey();

    void onSimpleRemainsInfoChanged(const std::shared_ptr<SimpleRemainsInfo>& info) override;

    // Top-left corner of a window of `windowSize` on a screen's full frame:
    // 20 from its right edge, 40 below its top.
    static QPoint notificationOrigin(const QRect& screenFrame, const QSize& windowSize);

    static constexpr std::chrono::milliseconds kFadeInDuration{1000};
    static constexpr std::chrono::seconds kResignGrace{2};
    static constexpr int kRightMargin = 20;
    static constexpr int kTopMargin = 40;
    static constexpr int kWindowWidth = 400;

    // State.
    bool isActive() const { return m_bIsActive; }
    std::int64_t otherAppCount() const { return m_nOtheAppCount; }
    const std::string& mainAppName() const { return m_sMainAppName; }
    const std::optional<dispatch::TimePoint>& showDate() const { return m_pShowDate; }
    // The remains by identifier, in the order the identifiers came.
    const std::vector<std::pair<std::string, std::shared_ptr<RemainsInfo>>>& removeInfo() const {
        return m_arrRemoveInfo;
    }
    const std::map<std::string, std::shared_ptr<platform::Bundle>>& removedApps() const {
        return m_arrRemovedApps;
    }
    const MarkupStyler* markupStyler() const { return m_pMarkupStyler.get(); }

    // The window and its outlets.
    RichNotificationWindow* window() const { return m_pWindow.get(); }
    MultilineWordWrapTextField* titleLabel() const { return m_pTitleLabel; }
    MultilineWordWrapTextField* subtitleLabel() const { return m_pSubtitleLabel; }
    CustomButton* helpButton() const { return m_pHelpButton; }
    CustomButton* completeUninstallButton() const { return m_pCompleteUninstallButton; }
    CustomButton* closeButton() const { return m_pCloseButton; }
    QPropertyAnimation* fadeInAnimation() const { return m_pFadeIn; }

private:
    explicit RichNotificationWC(Environment environment);
    void windowDidLoad();
    void acceptBundle(const std::shared_ptr<platform::Bundle>& bundle);
    RemainsInfo* remainsInfoForBundleID(const std::string& bundleId) const;
    void fitWindowToContent();
    const LocalizedStrings& texts() const;

    Environment m_environment;
    std::unique_ptr<RichNotificationWindow> m_pWindow;
    std::unique_ptr<Ui::RichNotificationWC> m_pUi;
    MultilineWordWrapTextField* m_pTitleLabel = nullptr;
    MultilineWordWrapTextField* m_pSubtitleLabel = nullptr;
    CustomButton* m_pHelpButton = nullptr;
    CustomButton* m_pCompleteUninstallButton = nullptr;
    CustomButton* m_pCloseButton = nullptr;
    QPropertyAnimation* m_pFadeIn = nullptr;

    std::optional<dispatch::TimePoint> m_pShowDate;
    std::string m_sMainAppName;
    std::vector<std::pair<std::string, std::shared_ptr<RemainsInfo>>> m_arrRemoveInfo;
    std::map<std::string, std::shared_ptr<platform::Bundle>> m_arrRemovedApps;
    std::int64_t m_nOtheAppCount = 0;
    bool m_bIsActive = false;
    std::shared_ptr<MarkupStyler> m_pMarkupStyler;
};
