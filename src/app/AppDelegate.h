#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/NameExcluder.h"
#include "dispatch/Queue.h"
#include "ui/NotificationPresenter.h"
#include "watching/AppsInTrashWatcher.h"

namespace dispatch {
class SerialQueue;
}
namespace platform {
class Bundle;
}
class FileMessage;

// Builds the long-lived objects at launch, takes the command files the Main
// application sends, and decides for each application that arrives in the
// Trash whether the user hears of it. Main-thread only.
class AppDelegate final : public AppsInTrashWatcherListener,
                          public std::enable_shared_from_this<AppDelegate> {
public:
    // Where the delegate looks at the world; app/Composition builds the
    // agent's.
    struct Environment {
        std::function<std::shared_ptr<NotificationPresenter>()> createNotificationPresenter;
        // The one folder watched as ~/.Trash; every Trash folder of the user
        // (the desktop's and each disk's too) when unset.
        std::optional<std::string> trashDirectory;
        std::function<std::optional<std::string>()> ownBundlePath;
        // Starts the Update restarter; nothing when empty.
        std::function<void()> startUpdateRestarter;
        // Where command files are read; a queue of the delegate's own when
        // null.
        std::shared_ptr<dispatch::SerialQueue> commandFileQueue;
    };

    explicit AppDelegate(Environment environment);

    void applicationDidFinishLaunching();
    void applicationWillTerminate() {}
    void startWatching();

    // Always answers true: the sender is never told what became of a file.
    bool openFile(const std::string& path);
    void openFiles(const std::vector<std::string>& paths);
    // A second start of the Helper with nothing to open.
    void applicationReopened();
    // A command file is read on the command-file queue and its command
    // applied later on the main queue; commands are applied in the order
    // their files arrived.
    void processOpenFileWithPath(const std::string& path);

    void onAppMovedToTrash(const std::shared_ptr<platform::Bundle>& bundle) override;

    const std::vector<std::shared_ptr<NameExcluder>>& excluders() const { return m_arrExcluders; }
    const std::shared_ptr<AppsInTrashWatcher>& trashWatcher() const { return m_pTrashWatcher; }

    static constexpr auto kClearDelay = std::chrono::seconds(5);

private:
    void applyCommand(const std::shared_ptr<const FileMessage>& message,
                      dispatch::TimePoint arrived);
    void clearExcludersExistingNow(dispatch::TimePoint arrived);

    Environment m_environment;
    std::shared_ptr<dispatch::SerialQueue> m_pCommandFileQueue;
    std::shared_ptr<AppsInTrashWatcher> m_pTrashWatcher;
    std::shared_ptr<NotificationPresenter> m_pRichNotificationWC;
    std::vector<std::shared_ptr<NameExcluder>> m_arrExcluders;
};
