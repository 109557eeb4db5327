#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "ui/LocalizedStrings.h"
#include "ui/NotificationPresenter.h"
#include "ui/RemovalOffer.h"

// The notification as the desktop's notification service shows it
// (org.freedesktop.Notifications on the session bus), for sessions where the
// agent cannot place a window of its own. The same offer decides what is
// shown and handed over. "Complete Uninstall" and "Close" are named actions,
// which services draw as buttons; there is no default action, so a click on
// the body (how many desktops dismiss a notification) hands nothing over. A
// service without actions is told in the text to start the Helper again,
// which hands the list over (reopened()). Joining applications or a growing
// size replace the one notification instead of stacking new ones. Without a
// service nothing is shown and nothing fails. Main thread only.
class DesktopNotification : public QObject,
                            public RemovalOffer::View,
                            public NotificationPresenter,
                            public std::enable_shared_from_this<DesktopNotification> {
    Q_OBJECT

public:
    static constexpr const char* kService = "org.freedesktop.Notifications";
    static constexpr const char* kPath = "/org/freedesktop/Notifications";
    static constexpr const char* kCompleteUninstallAction = "complete-uninstall";
    static constexpr const char* kCloseAction = "close";

    // What is sent for a description, to a service with these capabilities.
    struct Content {
        QString body;
        QStringList actions;  // key and title, pairwise
    };

    // `iconPath`: the application's icon, as a file path.
    static std::shared_ptr<DesktopNotification> create(
        RemovalOffer::Environment offer, std::shared_ptr<const LocalizedStrings> texts,
        std::string mainAppName, std::string iconPath);
    ~DesktopNotification() override;

    void showNotificationForApp(const std::shared_ptr<platform::Bundle>& bundle) override;

    void updateText() override;
    void showNotification() override;
    void closeWindow() override;

    // The Helper was started again while this shows: on a service that
    // draws no buttons that is the user's "Complete Uninstall".
    void reopened() override;

    // The description for a service that shows `<b>` (the only tag kept)
    // or, without markup, as plain text.
    static QString body(const std::string& markup, bool withMarkup);
    static Content content(const std::string& markup, const QStringList& capabilities,
                           const std::string& mainAppName, const LocalizedStrings& texts);

private:
    DesktopNotification(std::shared_ptr<const LocalizedStrings> texts, std::string mainAppName,
                        std::string iconPath);
    void notify();

private slots:
    void actionInvoked(uint id, const QString& action);
    void notificationClosed(uint id, uint reason);
    void serviceOwnerChanged(const QString& service, const QString& oldOwner,
                             const QString& newOwner);

private:
    std::shared_ptr<RemovalOffer> m_pOffer;
    std::shared_ptr<const LocalizedStrings> m_pTexts;
    std::string m_sMainAppName;
    std::string m_sIconPath;
    // The shown notification's id; 0 while none is shown.
    std::uint32_t m_nId = 0;
    std::string m_sShownMarkup;
    // What the service said it can show: asked once, and again only after
    // another process took the service's name.
    std::optional<QStringList> m_pCapabilities;
    // The unique bus name of the process that answered.
    QString m_sServiceOwner;
};
