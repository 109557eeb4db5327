#include "watching/UpdateRestarter.h"

#include <cstdlib>

#include "platform/Bundle.h"
#include "watching/FileManagerUtils.h"

namespace {

UpdateRestarter::TerminateBlock& applicationTerminate() {
    static UpdateRestarter::TerminateBlock terminate;
    return terminate;
}

}  // namespace

UpdateRestarter& UpdateRestarter::GetInstance() {
    // Kept for the life of the process: its watcher thread never stops.
    static const std::shared_ptr<UpdateRestarter> instance = [] {
        const auto bundle = platform::Bundle::mainBundle();
        return create(bundle ? std::optional<std::string>(bundle->path()) : std::nullopt);
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

std::shared_ptr<UpdateRestarter> UpdateRestarter::create(std::optional<std::string> bundlePath,
                                                         TerminateBlock terminate) {
    if (!terminate) terminate = [] { terminateApplication(); };
    auto restarter =
        std::make_shared<UpdateRestarter>(Private{}, std::move(bundlePath), std::move(terminate));
    if (restarter->m_sBundlePath) {
        restarter->m_pFileEventQueue = FileEventQueue::create();
        if (restarter->m_pFileEventQueue) {
            restarter->m_pFileEventQueue->setDelegate(restarter);
            restarter->m_pFileEventQueue->addPath(*restarter->m_sBundlePath);
        }
    }
    return restarter;
}

UpdateRestarter::UpdateRestarter(Private, std::optional<std::string> bundlePath,
                                 TerminateBlock terminate)
    : m_sBundlePath(std::move(bundlePath)), m_fnTerminate(std::move(terminate)) {}

void UpdateRestarter::receivedNotification(FileEventQueue&, const std::string&,
                                           const std::string&) {
    // A bundle renamed away while a new one takes its place passes: the path
    // exists again, and later events on the old bundle repeat this test.
    if (m_sBundlePath &&
        FileManagerUtils::fileExistsWithoutTraversingSymbolicLinkAtPath(*m_sBundlePath)) {
        return;
    }
    m_fnTerminate();
}
