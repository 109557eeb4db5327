#include "watching/UpdateRestarter.h"

#include <sys/stat.h>

#include <cstdlib>

#include "dispatch/MainQueue.h"
#include "platform/Bundle.h"
#include "platform/PathUtils.h"
#include "watching/FileManagerUtils.h"

namespace {

UpdateRestarter::TerminateBlock& applicationTerminate() {
    static UpdateRestarter::TerminateBlock terminate;
    return terminate;
}

UpdateRestarter::HandOverBlock& applicationHandOver() {
    static UpdateRestarter::HandOverBlock handOver;
    return handOver;
}

}  // namespace

UpdateRestarter& UpdateRestarter::GetInstance() {
    // Kept for the life of the process, and so are its watches.
    static const std::shared_ptr<UpdateRestarter> instance = [] {
        const auto bundle = platform::Bundle::mainBundle();
        if (!bundle) return create(std::nullopt);
        std::optional<std::string> executable;
        if (!bundle->executablePath().empty()) executable = bundle->executablePath();
        return create(bundle->path(), nullptr, std::move(executable));
    }();
    return *instance;
}

void UpdateRestarter::setApplicationTerminate(TerminateBlock terminate) {
    applicationTerminate() = std::move(terminate);
}

void UpdateRestarter::terminateApplication() {
    if (const TerminateBlock& terminate = applicationTerminate()) {
        terminate();
    } else {
        std::exit(EXIT_SUCCESS);
    }
}

void UpdateRestarter::setApplicationHandOver(HandOverBlock handOver) {
    applicationHandOver() = std::move(handOver);
}

void UpdateRestarter::handOverApplication() {
    if (const HandOverBlock& handOver = applicationHandOver()) {
        handOver();
    } else {
        terminateApplication();
    }
}

std::shared_ptr<UpdateRestarter> UpdateRestarter::create(std::optional<std::string> bundlePath,
                                                         TerminateBlock terminate,
                                                         std::optional<std::string> executablePath,
                                                         HandOverBlock handOver) {
    if (!terminate) terminate = [] { terminateApplication(); };
    if (!handOver) handOver = [] { handOverApplication(); };
    auto restarter =
        std::make_shared<UpdateRestarter>(Private{}, std::move(bundlePath), std::move(terminate),
                                          std::move(executablePath), std::move(handOver));
    if (restarter->m_sBundlePath || restarter->m_pExecutableIdentity) {
        restarter->m_pFileEventQueue = FileEventQueue::create();
    }
    if (auto& queue = restarter->m_pFileEventQueue) {
        queue->setDelegate(restarter);
        if (restarter->m_sBundlePath) queue->addPath(*restarter->m_sBundlePath);
        // The folder, not the file: a rename over the executable changes the
        // folder's entries, while the old file, still running, sees nothing.
        if (restarter->m_pExecutableIdentity) {
            queue->addPath(restarter->m_sExecutableFolder, platform::kNoteWrite);
        }
    }
    return restarter;
}

UpdateRestarter::UpdateRestarter(Private, std::optional<std::string> bundlePath,
                                 TerminateBlock terminate,
                                 std::optional<std::string> executablePath, HandOverBlock handOver)
    : m_sBundlePath(std::move(bundlePath)),
      m_fnTerminate(std::move(terminate)),
      m_sExecutablePath(std::move(executablePath)),
      m_fnHandOver(std::move(handOver)) {
    if (!m_sExecutablePath) return;
    m_sExecutableFolder =
        platform::PathUtils::stringByDeletingLastPathComponent(*m_sExecutablePath);
    if (!m_sExecutableFolder.empty()) m_pExecutableIdentity = identityOf(*m_sExecutablePath);
}

std::optional<UpdateRestarter::FileIdentity> UpdateRestarter::identityOf(const std::string& path) {
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return std::nullopt;
    return FileIdentity{static_cast<std::uint64_t>(info.st_dev),
                        static_cast<std::uint64_t>(info.st_ino)};
}

void UpdateRestarter::checkExecutable() {
    if (m_bHandingOver || !m_pExecutableIdentity) return;
    // Gone (for a moment, or with the bundle) is the bundle watch's business;
    // the same file written in place is no new program.
    const auto now = identityOf(*m_sExecutablePath);
    if (!now || *now == *m_pExecutableIdentity) return;
    m_bHandingOver = true;
    // An upgrade replaces the bundle's other files around the same moment;
    // the new program should find them all in place.
    dispatch::MainQueue::main().after(kHandOverDelay,
                                      [self = shared_from_this()] { self->m_fnHandOver(); });
}

void UpdateRestarter::receivedNotification(FileEventQueue&, const std::string&,
                                           const std::string& path) {
    if (m_pExecutableIdentity && path == m_sExecutableFolder) {
        checkExecutable();
        return;
    }
    // A bundle renamed away while a new one takes its place passes: the path
    // exists again, and later events on the old bundle repeat this test.
    if (m_sBundlePath &&
        FileManagerUtils::fileExistsWithoutTraversingSymbolicLinkAtPath(*m_sBundlePath)) {
        return;
    }
    m_fnTerminate();
}
