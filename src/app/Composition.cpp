#include "app/Composition.h"

#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QScreen>

#include "app/DesktopNotification.h"
#include "app/Logging.h"
#include "app/OpenFileChannel.h"
#include "app/QtMainQueue.h"
#include "environment/Consts.h"
#include "messages/NotificationsManager.h"
#include "platform/Bundle.h"
#include "platform/BundleTrust.h"
#include "platform/Log.h"
#include "platform/OpenURL.h"
#include "platform/Workspace.h"
#include "remains/SimpleRemainsInfo.h"
#include "ui/RichNotificationWCLocalizable.h"
#include "watching/UpdateRestarter.h"

namespace {

// The remains finder's object as the notification sees it.
class SimpleRemainsInfoRemains final : public RemovalOffer::Remains {
public:
    explicit SimpleRemainsInfoRemains(std::shared_ptr<SimpleRemainsInfo> info)
        : m_pInfo(std::move(info)) {}
    void addBundle(const std::shared_ptr<platform::Bundle>& bundle) override {
        m_pInfo->addBundle(bundle);
    }
    std::uint64_t getTotalSize() const override { return m_pInfo->getTotalSize(); }
    void addRemoveObjectPathsToArray(
        std::vector<std::shared_ptr<PathForRemove>>& array) const override {
        m_pInfo->addRemoveObjectPathsToArray(array);
    }

private:
    std::shared_ptr<SimpleRemainsInfo> m_pInfo;
};

// The files named on the command line (what is left after Qt took its own
// options), made absolute against the folder the process started in.
std::vector<std::string> filesToOpen() {
    std::vector<std::string> files;
    const QStringList arguments = QCoreApplication::arguments();
    for (qsizetype i = 1; i < arguments.size(); ++i) {
        files.push_back(QFileInfo(QDir::current(), arguments[i]).absoluteFilePath().toStdString());
    }
    return files;
}

// How the offer finds an identifier's remains: in the home of `paths`, sized
// on `calculation`, each size told to the offer that asked.
std::function<std::shared_ptr<RemovalOffer::Remains>(const std::shared_ptr<platform::Bundle>&,
                                                     std::weak_ptr<SimpleRemainsInfoListener>)>
remainsFinder(const PathsGenerator& paths, std::shared_ptr<SimpleSizeCalculation> calculation) {
    return [paths, calculation = std::move(calculation)](
               const std::shared_ptr<platform::Bundle>& bundle,
               std::weak_ptr<SimpleRemainsInfoListener> listener)
               -> std::shared_ptr<RemovalOffer::Remains> {
        auto info = SimpleRemainsInfo::create(bundle, std::move(listener), paths, calculation);
        if (!info) return nullptr;
        return std::make_shared<SimpleRemainsInfoRemains>(std::move(info));
    };
}

std::shared_ptr<DesktopNotification> createDesktopNotification() {
    RichNotificationWC::Environment environment = composition::notificationEnvironment();
    environment.offer.createRemainsInfo = remainsFinder(PathsGenerator::GetInstance(), nullptr);
    std::string icon;
    if (auto bundle = platform::Bundle::mainBundle()) {
        icon = bundle->path() + "/Contents/Resources/icon_notification.svg";
    }
    return DesktopNotification::create(
        std::move(environment.offer),
        std::shared_ptr<const LocalizedStrings>(&RichNotificationWCLocalizable::mainTable(),
                                                [](const LocalizedStrings*) {}),
        environment.mainAppName, std::move(icon));
}

// An upgrade put a new executable in this bundle: this agent makes way for
// it. The socket goes first, so that the new one finds no agent and becomes
// the agent, and two never answer at once; when the new one may not be
// started this one runs on.
void handOverToNewExecutable(OpenFileChannel& channel, const std::string& bundlePath) {
    const platform::BundleTrust trust;
    if (bundlePath.empty() ||
        platform::Workspace::executableForApplication(bundlePath, trust).empty()) {
        platform::Log::warning("update", "the upgraded " + bundlePath +
                                             " may not be started; the running agent stays");
        return;
    }
    const bool wasListening = channel.isListening();
    channel.stopListening();
    if (!platform::Workspace::openFile("", bundlePath, trust)) {
        platform::Log::warning("update", "the upgraded " + bundlePath +
                                             " could not be started; the running agent stays");
        if (wasListening) channel.listen(channel.receiver());
        return;
    }
    platform::Log::debug("update", "handed over to the upgraded " + bundlePath);
    QCoreApplication::quit();
}

}  // namespace

namespace composition {

bool placesItsOwnWindow() {
    // Under Wayland only an X server beside it (XWayland) lets the window sit
    // top right, so the agent runs on X whenever there is one.
    return !qEnvironmentVariableIsEmpty("DISPLAY");
}

void chooseWindowSystem() {
    if (!qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) return;
    qputenv("QT_QPA_PLATFORM", placesItsOwnWindow() ? "xcb" : "offscreen");
}

RichNotificationWC::Environment notificationEnvironment() {
    RichNotificationWC::Environment environment;
    environment.offer.calculateIsCanShowNotificationForBundleWithID =
        [](const std::optional<std::string>& bundleId, std::function<void()> okBlock) {
            SimpleRemainsInfo::calculateIsCanShowNotificationForBundleWithID(bundleId,
                                                                             std::move(okBlock));
        };
    environment.offer.removeFilePaths =
        [](const std::vector<std::shared_ptr<PathForRemove>>& paths) {
            NotificationsManager::GetInstance().removeFilePaths(paths);
        };
    environment.offer.openURL = [](const std::string& url) {
        return platform::Workspace::openURL(url);
    };
    environment.offer.helpURL = Consts::GetInstance().getCustomNotificationHelpURL();
    environment.mainScreenFrame = []() -> std::optional<QRect> {
        if (QScreen* screen = QGuiApplication::primaryScreen()) return screen->geometry();
        return std::nullopt;
    };
    environment.mainAppName = Consts::GetInstance().getMainAppName();
    return environment;
}

std::shared_ptr<RichNotificationWC> createNotificationWindow(
    RichNotificationWC::Environment environment, const PathsGenerator& paths,
    std::shared_ptr<SimpleSizeCalculation> calculation) {
    environment.offer.createRemainsInfo = remainsFinder(paths, std::move(calculation));
    return RichNotificationWC::create(std::move(environment));
}

AppDelegate::Environment appDelegateEnvironment() {
    AppDelegate::Environment environment;
    environment.createNotificationPresenter = []() -> std::shared_ptr<NotificationPresenter> {
        if (!placesItsOwnWindow()) return createDesktopNotification();
        return createNotificationWindow(notificationEnvironment(), PathsGenerator::GetInstance(),
                                        nullptr);
    };
    environment.ownBundlePath = []() -> std::optional<std::string> {
        auto bundle = platform::Bundle::mainBundle();
        if (!bundle) return std::nullopt;
        return bundle->path();
    };
    environment.startUpdateRestarter = [] { UpdateRestarter::GetInstance(); };
    return environment;
}

int runAgent(QApplication& application) {
    // A background agent: it lives on with no window open.
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setApplicationName(QStringLiteral("Sweepwell Helper"));
    installLogging();
    dispatch::MainQueue::install(std::make_shared<QtMainQueue>());
    UpdateRestarter::setApplicationTerminate([] { QCoreApplication::quit(); });

    auto delegate = std::make_shared<AppDelegate>(appDelegateEnvironment());
    const std::vector<std::string> files = filesToOpen();
    OpenFileChannel channel(OpenFileChannel::defaultSocketPath());
    const auto bundle = platform::Bundle::mainBundle();
    UpdateRestarter::setApplicationHandOver([&channel, bundlePath = bundle ? bundle->path() : ""] {
        handOverToNewExecutable(channel, bundlePath);
    });
    const bool forwarded = channel.forwardOrListen(
        files,
        [weak = std::weak_ptr<AppDelegate>(delegate)](std::vector<std::string> paths) {
            auto agent = weak.lock();
            if (!agent) return;
            if (paths.empty()) {
                agent->applicationReopened();
            } else {
                agent->openFiles(paths);
            }
        },
        [&] { delegate->applicationDidFinishLaunching(); });
    if (forwarded) return 0;  // the running agent has them

    if (!files.empty()) delegate->openFiles(files);
    return application.exec();
}

}  // namespace composition
