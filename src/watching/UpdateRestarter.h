#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "watching/FileEventQueue.h"

// Ends the application when its own bundle disappears from where it was
// started (an update replaced or moved it), so that the next start runs the
// new copy. Starting again is left to whatever starts the application.
//
// A package upgrade keeps the bundle folder and renames a new executable over
// the old one: then the application hands over to the new executable (the
// application's hand-over path starts it and ends this process), once the
// rest of the upgrade has had a moment to land.
class UpdateRestarter final : public FileEventQueueDelegate,
                              public std::enable_shared_from_this<UpdateRestarter> {
    struct Private {};

public:
    using TerminateBlock = std::function<void()>;
    using HandOverBlock = std::function<void()>;

    // From the executable's replacement to the hand-over.
    static constexpr auto kHandOverDelay = std::chrono::seconds(1);

    // The shared instance, watching the main bundle and ending the application
    // through its terminate path. Made on the first call, on the main thread.
    static UpdateRestarter& GetInstance();

    // The application's terminate path, installed by the application (main
    // thread). Until one is installed the process exits with status 0.
    static void setApplicationTerminate(TerminateBlock terminate);
    // Runs the installed terminate path.
    static void terminateApplication();

    // The application's hand-over path (main thread). Until one is installed
    // a replaced executable ends the application through its terminate path.
    static void setApplicationHandOver(HandOverBlock handOver);
    static void handOverApplication();

    // Watches the bundle path (nothing when it is nil) and calls `terminate`
    // once it is gone; null `terminate` uses the application's terminate path.
    // With `executablePath` (the program this process runs), also watches
    // the executable's folder and calls `handOver` once, when another file has
    // taken the executable's place; null `handOver` uses the application's
    // hand-over path.
    static std::shared_ptr<UpdateRestarter> create(std::optional<std::string> bundlePath,
                                                   TerminateBlock terminate = nullptr,
                                                   std::optional<std::string> executablePath = {},
                                                   HandOverBlock handOver = nullptr);
    UpdateRestarter(Private, std::optional<std::string> bundlePath, TerminateBlock terminate,
                    std::optional<std::string> executablePath, HandOverBlock handOver);

    // Any change of the bundle folder: terminate unless the path still exists.
    // Any change of the executable's folder: hand over when the executable is
    // another file now.
    void receivedNotification(FileEventQueue& queue, const std::string& name,
                              const std::string& path) override;

    const std::optional<std::string>& bundlePath() const { return m_sBundlePath; }
    // The queue that watches the bundle (null when nothing is watched).
    const std::shared_ptr<FileEventQueue>& getFileEventQueue() const { return m_pFileEventQueue; }

private:
    struct FileIdentity {
        std::uint64_t device = 0;
        std::uint64_t inode = 0;
        bool operator==(const FileIdentity&) const = default;
    };
    static std::optional<FileIdentity> identityOf(const std::string& path);
    void checkExecutable();

    std::optional<std::string> m_sBundlePath;
    std::shared_ptr<FileEventQueue> m_pFileEventQueue;
    TerminateBlock m_fnTerminate;
    std::optional<std::string> m_sExecutablePath;
    std::string m_sExecutableFolder;
    // The file this process runs, as it was at the executable's path.
    std::optional<FileIdentity> m_pExecutableIdentity;
    HandOverBlock m_fnHandOver;
    bool m_bHandingOver = false;
};
