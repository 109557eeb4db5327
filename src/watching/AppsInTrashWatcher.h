#pragma once

#include <memory>
#include <string>

#include "platform/Bundle.h"
#include "watching/DirectoryWatcher.h"

class AppsInTrashWatcherListener {
public:
    virtual ~AppsInTrashWatcherListener() = default;
    // A genuine application bundle arrived in the Trash (main thread). The
    // same bundle can be reported more than once.
    virtual void onAppMovedToTrash(const std::shared_ptr<platform::Bundle>& bundle) = 0;
};

// Watches the user's Trash and hands each genuine application bundle that
// arrives there to the listener: stand-alone, loadable, with an identifier,
// and not one of the product's own. Main-thread only.
class AppsInTrashWatcher final : public DirectoryWatcherDelegate,
                                 public std::enable_shared_from_this<AppsInTrashWatcher> {
    struct Private {};

public:
    // Watches the Trash of the user's home folder.
    static std::shared_ptr<AppsInTrashWatcher> create(
        std::weak_ptr<AppsInTrashWatcherListener> listener);
    // Watches the given folder as the Trash.
    static std::shared_ptr<AppsInTrashWatcher> create(
        std::weak_ptr<AppsInTrashWatcherListener> listener, std::string trashPath);
    AppsInTrashWatcher(Private, std::weak_ptr<AppsInTrashWatcherListener> listener,
                       std::string trashPath);

    void startWatching();
    const std::shared_ptr<DirectoryWatcher>& getTrashWatcher() const { return m_pTrashWatcher; }

    void onAddedAppWithPath(const std::string& path) override;
    // The bundle at the path if it is a genuine application that is not one of
    // the product's own; null otherwise.
    static std::shared_ptr<platform::Bundle> isReallyAppBundlePath(const std::string& path);

private:
    std::weak_ptr<AppsInTrashWatcherListener> m_pListener;
    std::string m_sTrashPath;
    std::shared_ptr<DirectoryWatcher> m_pTrashWatcher;
};
