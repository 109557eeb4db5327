#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "remains/SimpleRemainsInfo.h"
#include "ui/LocalizedStrings.h"
#include "ui/RemovalOffer.h"

// The notification as the desktop's notification service shows it
// (org.freedesktop.Notifications on the session bus), for sessions where the
// agent cannot place a window of its own. The same offer decides what is
// shown and handed over; "Complete Uninstall" is the default action and
// "Close" the other, when the service has actions. Joining applications or a
// growing size replace the one notification instead of stacking new ones.
// Without a service nothing is shown and nothing fails. Main thread only.
class DesktopNotification : public QObject,
                            public RemovalOffer::View,
                            public SimpleRemainsInfoListener,
                            public std::enable_shared_from_this<DesktopNotification> {
    Q_OBJECT

public:
    static constexpr const char* kService = "org.freedesktop.Notifications";
    static constexpr const char* kPath = "/org/freedesktop/Notifications";
    static constexpr const char* kDefaultAction = "default";
    static constexpr const char* kCloseAction = "close";

    // `iconPath`: the application's icon, as a file path.
    static std::shared_ptr<DesktopNotification> create(
        RemovalOffer::Environment offer, std::shared_ptr<const LocalizedStrings> texts,
        std::string mainAppName, std::string iconPath);
    ~DesktopNotification() override;

    void showNotificationForApp(const std::shared_ptr<platform::Bundle>& bundle);

    void updateText() override;
    void showNotification() override;
    void closeWindow() override;
    void onSimpleRemainsInfoChanged(const std::shared_ptr<SimpleRemainsInfo>& info) override;

    // The description for a service that shows `<b>` (the only tag kept)
    // or, without markup, as plain text.
    static QString body(const std::string& markup, bool withMarkup);

private:
    DesktopNotification(std::shared_ptr<const LocalizedStrings> texts, std::string mainAppName,
                        std::string iconPath);
    void notify();

private slots:
    void actionInvoked(uint id, const QString& action);
    void notificationClosed(uint id, uint reason);

private:
    std::shared_ptr<RemovalOffer> m_pOffer;
    std::shared_ptr<const LocalizedStrings> m_pTexts;
    std::string m_sMainAppName;
    std::string m_sIconPath;
    // The shown notification's id; 0 while none is shown.
    std::uint32_t m_nId = 0;
    std::string m_sShownMarkup;
    // What the service said it can show, asked when the notification first showed.
    std::optional<QStringList> m_pCapabilities;
};
