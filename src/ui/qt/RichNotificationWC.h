#pragma once

#include <QPoint>
#include <QRect>
#include <QSize>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "ui/AttributedString.h"
#include "ui/LocalizedStrings.h"
#include "ui/MarkupStyler.h"
#include "ui/NotificationPresenter.h"
#include "ui/RemovalOffer.h"

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
// ("Complete Uninstall"), to close, or to read help. Main thread only.
//
// It only draws and forwards: what is shown, counted, kept and handed over
// is decided by its RemovalOffer.
class RichNotificationWC : public RemovalOffer::View,
                           public NotificationPresenter,
                           public std::enable_shared_from_this<RichNotificationWC> {
public:
    // The world the controller acts on; app/ builds the agent's.
    struct Environment {
        RemovalOffer::Environment offer;
        // The primary screen's full frame; nullopt when there is no screen.
        std::function<std::optional<QRect>()> mainScreenFrame;
        // The texts' table; null for the main bundle's.
        std::shared_ptr<const LocalizedStrings> texts;
        std::string mainAppName;
    };

    // The controller with its window loaded (hidden).
    static std::shared_ptr<RichNotificationWC> create(Environment environment);
    ~RichNotificationWC() override;
    RichNotificationWC(const RichNotificationWC&) = delete;
    RichNotificationWC& operator=(const RichNotificationWC&) = delete;

    void showNotificationForApp(const std::shared_ptr<platform::Bundle>& bundle) override;

    void showNotification() override;
    void hideNotification();
    void updateText() override;
    void closeWindow() override;
    AttributedString generateAttributedString() const;
    static std::shared_ptr<MarkupStyler> generateDefaultMarkupStyler();

    // The window's actions.
    void onShowHelp();
    void onNotificationClose();
    void onSelectCompleteUninstall();
    void windowDidResignKey();

    // Top-left corner of a window of `windowSize` on a screen's full frame:
    // 20 from its right edge, 40 below its top.
    static QPoint notificationOrigin(const QRect& screenFrame, const QSize& windowSize);

    static constexpr std::chrono::milliseconds kFadeInDuration{1000};
    static constexpr int kRightMargin = 20;
    static constexpr int kTopMargin = 40;
    static constexpr int kWindowWidth = 400;

    const RemovalOffer& offer() const { return *m_pOffer; }
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
    void fitWindowToContent();
    const LocalizedStrings& texts() const;

    Environment m_environment;
    std::shared_ptr<RemovalOffer> m_pOffer;
    std::unique_ptr<RichNotificationWindow> m_pWindow;
    std::unique_ptr<Ui::RichNotificationWC> m_pUi;
    MultilineWordWrapTextField* m_pTitleLabel = nullptr;
    MultilineWordWrapTextField* m_pSubtitleLabel = nullptr;
    CustomButton* m_pHelpButton = nullptr;
    CustomButton* m_pCompleteUninstallButton = nullptr;
    CustomButton* m_pCloseButton = nullptr;
    QPropertyAnimation* m_pFadeIn = nullptr;

    std::shared_ptr<MarkupStyler> m_pMarkupStyler;
};
