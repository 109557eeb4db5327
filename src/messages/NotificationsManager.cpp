#include "messages/NotificationsManager.h"

#include "environment/ApplicationDirectoryUtils.h"
#include "messages/WatcherMessage.h"
#include "platform/Bundle.h"
#include "platform/LaunchServices.h"
#include "platform/Workspace.h"

NotificationsManager& NotificationsManager::GetInstance() {
    static NotificationsManager instance(MessageEnvironment::standard());
    return instance;
}

NotificationsManager::NotificationsManager(MessageEnvironment environment)
    : m_pEnvironment(std::move(environment)) {}

std::optional<std::string> NotificationsManager::findMainApplication() const {
    const std::string& mainId = m_pEnvironment.mainAppBundleId;
    std::optional<std::string> candidate;
    const auto running = platform::Workspace::runningApplicationsWithBundleIdentifier(mainId);
    if (!running.empty() && !running.front().executableURL.empty()) {
        candidate = running.front().executableURL;
    } else {
        candidate = platform::LaunchServices::urlForApplicationWithBundleIdentifier(
            mainId, m_pEnvironment.applicationFolders);
    }
    // The copy that carries this Helper wins over any other: it is the one
    // the user installed together with it.
    if (auto enclosing =
            ApplicationDirectoryUtils::parentAppPathForPath(m_pEnvironment.ownBundlePath)) {
        auto bundle = platform::Bundle::bundleWithPath(*enclosing);
        if (bundle && bundle->bundleIdentifier() == mainId) candidate = *enclosing;
    }
    return candidate;
}

void NotificationsManager::removeFilePaths(
    const std::vector<std::shared_ptr<PathForRemove>>& paths) const {
    if (paths.empty()) return;
    const auto application = findMainApplication();
    if (!application) return;
    WatcherMessage message;
    message.setPathsForRemove(paths);
    const auto file = message.saveForTransmit(m_pEnvironment.messageFolder);
    (void)platform::Workspace::openFile(file.value_or(*application), *application);
}
