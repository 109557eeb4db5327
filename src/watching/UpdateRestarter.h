#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "watching/FileEventQueue.h"

// Ends the application when its own bundle disappears from where it was
// started (an update replaced or moved it), so that the next start runs the
// new copy. Starting again is left to whatever starts the application.
class UpdateRestarter final : public FileEventQueueDelegate,
                              public std::enable_shared_from_this<UpdateRestarter> {
    struct Private {};

public:
    using TerminateBlock = std::function<void()>;

    // The shared instance, watching the main bundle and ending the application
    // through its terminate path. Made on the first call, on the main thread.
    static UpdateRestarter& GetInstance();

    // The application's terminate path, installed by the application (main
    // thread). Until one is installed the process exits with status 0.
    static void setApplicationTerminate(TerminateBlock terminate);
    // Runs the installed terminate path.
    static void terminateApplication();

    // Watches the bundle path (nothing when it is nil) and calls `terminate`
    // once it is gone; null `terminate` uses the application's terminate path.
    static std::shared_ptr<UpdateRestarter> create(std::optional<std::string> bundlePath,
                                                   TerminateBlock terminate = nullptr);
    UpdateRestarter(Private, std::optional<std::string> bundlePath, TerminateBlock terminate);

    // Any change of the bundle folder: terminate unless the path still exists.
    void receivedNotification(FileEventQueue& queue, const std::string& name,
                              const std::string& path) override;

    const std::optional<std::string>& bundlePath() const { return m_sBundlePath; }
    // The queue that watches the bundle (null when nothing is watched).
    const std::shared_ptr<FileEventQueue>& getFileEventQueue() const { return m_pFileEventQueue; }

private:
    std::optional<std::string> m_sBundlePath;
    std::shared_ptr<FileEventQueue> m_pFileEventQueue;
    TerminateBlock m_fnTerminate;
};
