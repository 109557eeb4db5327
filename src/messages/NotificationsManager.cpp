#include "messages/NotificationsManager.h"

#include "environment/ApplicationDirectoryUtils.h"
#include "messages/WatcherMessage.h"
#include "platform/Bundle.h"
#include "platform/Log.h"
#include "platform/Workspace.h"

NotificationsManager& NotificationsManager::GetInstance() {
    static NotificationsManager instance(MessageEnvironment::standard());
    return instance;
}

NotificationsManager::NotificationsManager(MessageEnvironment environment)
    : m_environment(std::move(environment)) {}

std::optional<std::string> NotificationsManager::findMainApplication() const {
    const std::string& mainId = m_environment.mainAppBundleId;
    // Only copies that no other user could have planted or changed count,
    // whichever way they were found.
    std::optional<std::string> candidate = m_environment.runningCopyToStart(mainId);
    if (!candidate) candidate = m_environment.installedCopyToStart(mainId);
    // The copy that carries this Helper wins over any other: it is the one
    // the user installed together with it.
    if (auto enclosing = m_environment.startable(
            ApplicationDirectoryUtils::parentAppPathForPath(m_environment.ownBundlePath))) {
        auto bundle = platform::Bundle::bundleWithPath(*enclosing);
        if (bundle && bundle->bundleIdentifier() == mainId) candidate = *enclosing;
    }
    return candidate;
}

void NotificationsManager::removeFilePaths(
    const std::vector<std::shared_ptr<PathForRemove>>& paths) const {
    if (paths.empty()) return;
    const auto application = findMainApplication();
    if (!application) {
        platform::Log::warning("handover", "no trusted copy of " + m_environment.mainAppBundleId +
                                               " to hand the removal list to");
        return;
    }
    WatcherMessage message;
    message.setPathsForRemove(paths);
    const auto file = message.saveForTransmit(m_environment.messageFolder);
    // The Main application treats each argument as a list to read: anything
    // but the file just written would be read (and removed) as one.
    if (!file) {
        platform::Log::warning(
            "handover", "the removal list could not be written to " + m_environment.messageFolder);
        return;
    }
    if (!platform::Workspace::openFile(*file, *application, m_environment.trust)) {
        platform::Log::warning("handover", *application + " could not be started");
    }
}
