#include <QApplication>
#include <QDir>
#include <QFileInfo>

#include "app/AppDelegate.h"
#include "app/OpenFileChannel.h"
#include "app/QtMainQueue.h"
#include "ui/qt/RichNotificationWC.h"
#include "watching/UpdateRestarter.h"

namespace {

// The notification window as the delegate sees it.
class NotificationWindowPresenter final : public NotificationPresenter {
public:
    explicit NotificationWindowPresenter(std::shared_ptr<RichNotificationWC> controller)
        : m_pController(std::move(controller)) {}
    void showNotificationForApp(const std::shared_ptr<platform::Bundle>& bundle) override {
        if (m_pController) m_pController->showNotificationForApp(bundle);
    }

private:
    std::shared_ptr<RichNotificationWC> m_pController;
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

}  // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    // A background agent: it lives on with no window open.
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setApplicationName(QStringLiteral("Sweepwell Helper"));
    dispatch::MainQueue::install(std::make_shared<QtMainQueue>());
    UpdateRestarter::setApplicationTerminate([] { QCoreApplication::quit(); });

    auto delegate = std::make_shared<AppDelegate>(AppDelegate::standardEnvironment([] {
        return std::make_shared<NotificationWindowPresenter>(RichNotificationWC::create());
    }));
    const std::vector<std::string> files = filesToOpen();
    OpenFileChannel channel(OpenFileChannel::defaultSocketPath());
    const bool forwarded = channel.forwardOrListen(
        files,
        [weak = std::weak_ptr<AppDelegate>(delegate)](std::vector<std::string> paths) {
            if (auto agent = weak.lock()) agent->openFiles(paths);
        },
        [&] { delegate->applicationDidFinishLaunching(); });
    if (forwarded) return 0;  // the running agent has them

    if (!files.empty()) delegate->openFiles(files);
    return application.exec();
}
