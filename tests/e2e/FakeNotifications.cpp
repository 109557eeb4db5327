// A desktop notification service for the end-to-end suite: it owns
// org.freedesktop.Notifications on the session bus, appends each call it
// gets to RECORD (one line, fields separated by tabs) and, when CONTROL
// appears holding an action key ("complete-uninstall", "close", or
// "default" for a click on the body) or "dismiss", answers the last
// notification as a user would: that action, or closing it.
//
//   e2e_fake_notifications RECORD CONTROL [--no-actions] [--no-markup]
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QFile>
#include <QTimer>
#include <QVariantMap>

class FakeNotifications : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    FakeNotifications(QString record, QStringList capabilities)
        : m_record(std::move(record)), m_capabilities(std::move(capabilities)) {}

    void answer(const QString& how) {
        const bool closing = how == "dismiss";
        QDBusMessage signal = QDBusMessage::createSignal(
            "/org/freedesktop/Notifications", "org.freedesktop.Notifications",
            closing ? "NotificationClosed" : "ActionInvoked");
        signal << m_last;
        if (closing) {
            signal << 2u;  // dismissed by the user
        } else {
            signal << how;
        }
        QDBusConnection::sessionBus().send(signal);
    }

public slots:
    QStringList GetCapabilities() {
        write({"GetCapabilities"});
        return m_capabilities;
    }
    QString GetServerInformation(QString& vendor, QString& version, QString& specVersion) {
        vendor = "e2e";
        version = "1";
        specVersion = "1.2";
        return "fake";
    }
    uint Notify(const QString& app, uint replaces, const QString& icon, const QString& summary,
                const QString& body, const QStringList& actions, const QVariantMap& hints,
                int timeout) {
        m_last = replaces != 0 ? replaces : ++m_counter;
        write({"Notify", app, QString::number(replaces), icon, summary, body, actions.join('|'),
               hints.keys().join(','), QString::number(timeout), "id=" + QString::number(m_last)});
        return m_last;
    }
    void CloseNotification(uint id) { write({"Close", QString::number(id)}); }

private:
    void write(const QStringList& fields) {
        QFile file(m_record);
        // One line per call: a line break inside a field is written as \n.
        QString line = fields.join('\t');
        line.replace('\n', QStringLiteral("\\n"));
        if (file.open(QIODevice::Append)) file.write((line + '\n').toUtf8());
    }

    QString m_record;
    QStringList m_capabilities;
    uint m_counter = 0;
    uint m_last = 0;
};

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    if (arguments.size() < 3) return 2;
    QStringList capabilities{"body", "actions", "body-markup"};
    if (arguments.contains("--no-actions")) capabilities.removeAll("actions");
    if (arguments.contains("--no-markup")) capabilities.removeAll("body-markup");
    FakeNotifications service(arguments[1], capabilities);
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.registerObject("/org/freedesktop/Notifications", &service,
                            QDBusConnection::ExportAllSlots) ||
        !bus.registerService("org.freedesktop.Notifications")) {
        return 1;
    }
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, [&] {
        QFile control(arguments[2]);
        if (!control.open(QIODevice::ReadOnly)) return;
        const QString how = QString::fromUtf8(control.readAll()).trimmed();
        control.remove();
        if (!how.isEmpty()) service.answer(how);
    });
    poll.start(50);
    return application.exec();
}

#include "FakeNotifications.moc"
