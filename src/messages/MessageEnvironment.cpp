#include "messages/MessageEnvironment.h"

#include <algorithm>

#include "environment/WatcherSettings.h"
#include "messages/OpenFilesRequest.h"
#include "platform/Bundle.h"
#include "platform/LaunchServices.h"
#include "platform/PathUtils.h"
#include "platform/TemporaryDirectory.h"
#include "platform/Workspace.h"

MessageEnvironment MessageEnvironment::standard() {
    const WatcherSettings& settings = WatcherSettings::GetInstance();
    MessageEnvironment environment;
    environment.mainAppBundleId = settings.getMainAppBundleID();
    environment.helperAppBundleId = settings.getHelperAppBundleID();
    // Without a private temporary folder there is nowhere safe to write: the
    // empty folder makes every write fail.
    const std::string temporary = platform::temporaryDirectory();
    if (!temporary.empty()) {
        environment.messageFolder = platform::PathUtils::stringByAppendingPathComponent(
            temporary, environment.helperAppBundleId);
        environment.helperSocket =
            OpenFilesRequest::socketPath(temporary, environment.helperAppBundleId);
    }
    if (auto bundle = platform::Bundle::mainBundle()) {
        environment.ownBundlePath = bundle->path();
        environment.ownBundleId = bundle->bundleIdentifier();
    }
    environment.applicationFolders = platform::LaunchServices::applicationFolders();
    if (environment.ownBundlePath) {
        // The package installs the Helper and the Main application side by side.
        std::string beside =
            platform::PathUtils::stringByDeletingLastPathComponent(*environment.ownBundlePath);
        auto& folders = environment.applicationFolders;
        if (!beside.empty() && std::find(folders.begin(), folders.end(), beside) == folders.end()) {
            folders.push_back(std::move(beside));
        }
    }
    return environment;
}

std::optional<std::string> MessageEnvironment::runningCopyToStart(
    const std::string& bundleId) const {
    for (const auto& copy :
         platform::Workspace::runningApplicationsWithBundleIdentifier(bundleId)) {
        if (!copy.executableURL.empty() && trust.trustedExecutableOfBundle(copy.bundleURL)) {
            return copy.executableURL;
        }
    }
    return std::nullopt;
}

std::optional<std::string> MessageEnvironment::installedCopyToStart(
    const std::string& bundleId) const {
    for (const std::string& copy :
         platform::LaunchServices::copiesOfBundleIdentifier(bundleId, applicationFolders)) {
        if (trust.trustedExecutableOfBundle(copy)) return copy;
    }
    return std::nullopt;
}

std::optional<std::string> MessageEnvironment::startable(
    const std::optional<std::string>& bundlePath) const {
    if (!bundlePath || !trust.trustedExecutableOfBundle(*bundlePath)) return std::nullopt;
    return bundlePath;
}
