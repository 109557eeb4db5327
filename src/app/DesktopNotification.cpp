#include "app/DesktopNotification.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDBusServiceWatcher>
#include <QLoggingCategory>
#include <QRegularExpression>
#include <QStringList>
#include <QVariantMap>

#include "ui/MarkupStyler.h"
#include "ui/RichNotificationWCLocalizable.h"

Q_LOGGING_CATEGORY(lcDesktopNotification, "sweepwell.desktop-notification")

namespace {

constexpr int kCallTimeoutMs = 3000;
constexpr const char* kInterface = "org.freedesktop.Notifications";

QDBusMessage call(const char* method) {
    return QDBusMessage::createMethodCall(DesktopNotification::kService, DesktopNotification::kPath,
                                          kInterface, QString::fromLatin1(method));
}

}  // namespace

std::shared_ptr<DesktopNotification> DesktopNotification::create(
    RemovalOffer::Environment offer, std::shared_ptr<const LocalizedStrings> texts,
    std::string mainAppName, std::string iconPath) {
    std::shared_ptr<DesktopNotification> self(
        new DesktopNotification(std::move(texts), std::move(mainAppName), std::move(iconPath)));
    self->m_pOffer = RemovalOffer::create(std::move(offer));
    self->m_pOffer->setView(self);
    QDBusConnection bus = QDBusConnection::sessionBus();
    // Only the service's own signals: the bus delivers a signal matched by a
    // well-known name only when its sender owns that name.
    bus.connect(kService, kPath, kInterface, "ActionInvoked", self.get(),
                SLOT(actionInvoked(uint, QString)));
    bus.connect(kService, kPath, kInterface, "NotificationClosed", self.get(),
                SLOT(notificationClosed(uint, uint)));
    // Another server answers from here on: it may draw other things, and
    // what the old one showed went with it.
    auto* watcher = new QDBusServiceWatcher(QString::fromLatin1(kService), bus,
                                            QDBusServiceWatcher::WatchForOwnerChange, self.get());
    QObject::connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, self.get(),
                     &DesktopNotification::serviceOwnerChanged);
    return self;
}

DesktopNotification::DesktopNotification(std::shared_ptr<const LocalizedStrings> texts,
                                         std::string mainAppName, std::string iconPath)
    : m_pTexts(std::move(texts)),
      m_sMainAppName(std::move(mainAppName)),
      m_sIconPath(std::move(iconPath)) {}

DesktopNotification::~DesktopNotification() = default;

void DesktopNotification::showNotificationForApp(const std::shared_ptr<platform::Bundle>& bundle) {
    m_pOffer->showNotificationForApp(bundle);
}

void DesktopNotification::updateText() {
    if (m_nId != 0) notify();
}

void DesktopNotification::showNotification() {
    notify();
}

void DesktopNotification::closeWindow() {
    const std::uint32_t id = m_nId;
    m_nId = 0;
    if (id == 0) return;
    QDBusMessage close = call("CloseNotification");
    close << id;
    QDBusConnection::sessionBus().call(close, QDBus::NoBlock);
}

QString DesktopNotification::body(const std::string& markup, bool withMarkup) {
    if (!withMarkup) return QString::fromStdString(MarkupStyler::parse(markup).text);
    // The service's markup is a small set of its own; every other tag goes.
    static const QRegularExpression otherTags(QStringLiteral("<(?!/?b>)[^>]*>"));
    return QString::fromStdString(markup).remove(otherTags);
}

DesktopNotification::Content DesktopNotification::content(const std::string& markup,
                                                          const QStringList& capabilities,
                                                          const std::string& mainAppName,
                                                          const LocalizedStrings& texts) {
    const bool withMarkup = capabilities.contains(QStringLiteral("body-markup"));
    Content content{body(markup, withMarkup), {}};
    if (capabilities.contains(QStringLiteral("actions"))) {
        content.actions << kCompleteUninstallAction
                        << QString::fromStdString(
                               RichNotificationWCLocalizable::completeUninstallButtonTitle(texts))
                        << kCloseAction
                        << QString::fromStdString(
                               RichNotificationWCLocalizable::closeButtonTitle(texts));
    } else {
        const QString hint = QString::fromStdString(
            RichNotificationWCLocalizable::withoutButtonsHint(mainAppName, texts));
        content.body += QStringLiteral("\n\n") + (withMarkup ? hint.toHtmlEscaped() : hint);
    }
    return content;
}

void DesktopNotification::notify() {
    const std::string markup = m_pOffer->descriptionMarkup(*m_pTexts);
    // Each change of the text replaces the notification; an unchanged one
    // would only make the service show it again.
    if (markup.empty() || (m_nId != 0 && markup == m_sShownMarkup)) return;
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!m_pCapabilities) {
        const QDBusMessage answer = bus.call(call("GetCapabilities"), QDBus::Block, kCallTimeoutMs);
        const QDBusReply<QStringList> capabilities(answer);
        if (!capabilities.isValid()) {
            qCWarning(lcDesktopNotification).noquote()
                << "no desktop notification service answers, so nothing is shown:"
                << capabilities.error().message();
            return;
        }
        m_pCapabilities = capabilities.value();
        m_sServiceOwner = answer.service();
    }
    const Content shown = content(markup, *m_pCapabilities, m_sMainAppName, *m_pTexts);
    QVariantMap hints;
    hints.insert(QStringLiteral("desktop-entry"),
                 QStringLiteral("com.quorvex.Sweepwell-Plus-Helper"));
    QDBusMessage notify = call("Notify");
    notify << QStringLiteral("Sweepwell Helper") << m_nId << QString::fromStdString(m_sIconPath)
           << QString::fromStdString(
                  RichNotificationWCLocalizable::titleWithAppName(m_sMainAppName, *m_pTexts))
           << shown.body << shown.actions << hints << 0;  // stays until the user answers it
    const QDBusReply<uint> id = bus.call(notify, QDBus::Block, kCallTimeoutMs);
    if (!id.isValid()) {
        qCWarning(lcDesktopNotification).noquote()
            << "the desktop notification service refused the notification:" << id.error().message();
        return;
    }
    if (m_nId == 0) {
        qCDebug(lcDesktopNotification).noquote()
            << "showing as a desktop notification:" << QString::fromStdString(markup);
    }
    m_nId = id.value();
    m_sShownMarkup = markup;
}

void DesktopNotification::actionInvoked(uint id, const QString& action) {
    if (id == 0 || id != m_nId) return;
    if (action == QLatin1String(kCompleteUninstallAction)) {
        m_pOffer->onSelectCompleteUninstall();
    } else if (action == QLatin1String(kCloseAction)) {
        m_pOffer->hideNotification();
    }
}

void DesktopNotification::notificationClosed(uint id, uint /*reason*/) {
    if (id == 0 || id != m_nId) return;
    m_nId = 0;  // already gone: nothing to close
    m_pOffer->hideNotification();
}

void DesktopNotification::serviceOwnerChanged(const QString& /*service*/,
                                              const QString& /*oldOwner*/,
                                              const QString& newOwner) {
    // A service the bus started for our first call is announced only after
    // it answered: that is the one already asked, not another.
    if (!newOwner.isEmpty() && newOwner == m_sServiceOwner) return;
    m_pCapabilities.reset();
    m_sServiceOwner.clear();
    if (m_nId == 0) return;
    m_nId = 0;
    m_pOffer->hideNotification();
}

void DesktopNotification::reopened() {
    if (m_nId == 0 || !m_pCapabilities || m_pCapabilities->contains(QStringLiteral("actions"))) {
        return;
    }
    m_pOffer->onSelectCompleteUninstall();
}
