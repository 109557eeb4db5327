#include "remains/InstalledCopies.h"

#include "dispatch/MainQueue.h"
#include "dispatch/SerialQueue.h"
#include "environment/MacOSVersion.h"
#include "environment/StringUtils.h"
#include "platform/LaunchServices.h"
#include "platform/PasswordDatabase.h"
#include "remains/SpotlightEasySearch.h"
#include "watching/FileManagerUtils.h"

InstalledCopies::Locations InstalledCopies::Locations::standard() {
    Locations locations;
    locations.launchServicesRoots = platform::LaunchServices::applicationFolders();
    locations.listsEveryCopy = MacOSVersion::GetInstance().is_10_10_orHigher();
    return locations;
}

void InstalledCopies::whenNoneInstalled(const std::optional<std::string>& bundleId,
                                        std::function<void()> okBlock) const {
    if (!bundleId) return;
    std::shared_ptr<dispatch::Queue> queue = m_locations.scanQueue;
    if (!queue) {
        // Never destroyed: a scan still running at exit must not be waited for.
        static const auto* shared = new std::shared_ptr<dispatch::SerialQueue>(
            std::make_shared<dispatch::SerialQueue>("Installed copies scan"));
        queue = *shared;
    }
    // Application folders can be large and slow to read: the window stays
    // responsive while they are, and the answer comes back on the main queue.
    queue->async([id = *bundleId, okBlock = std::move(okBlock), locations = m_locations]() mutable {
        std::vector<std::string> copies;
        if (locations.listsEveryCopy) {
            copies = platform::LaunchServices::copiesOfBundleIdentifier(
                id, locations.launchServicesRoots);
        } else if (auto copy = platform::LaunchServices::urlForApplicationWithBundleIdentifier(
                       id, locations.launchServicesRoots)) {
            copies.push_back(*copy);
        }
        for (const auto& path : copies) {
            // A copy on another volume or in the Trash is not an installed one.
            if (StringUtils::isInFolder(path, locations.volumesFolder)) continue;
            if (locations.paths.pathInTrash(path)) continue;
            if (FileManagerUtils::fileExistsWithoutTraversingSymbolicLinkAtPath(path)) return;
        }
        dispatch::MainQueue::main().async(
            [id = std::move(id), okBlock = std::move(okBlock), locations = std::move(locations)] {
                searchForInstalledCopies(id, okBlock, locations);
            });
    });
}

void InstalledCopies::searchForInstalledCopies(const std::string& bundleId,
                                               std::function<void()> okBlock,
                                               const Locations& locations) {
    const std::string userApplications =
        platform::isUsableHomeDirectory(locations.paths.getHomeDirectory())
            ? locations.paths.buildUserApplicationsDirectory()
            : std::string();
    // The identifier goes into the text as it is: one that breaks the
    // predicate makes the search fail to start, which counts as finding nothing.
    const std::string format =
        "kMDItemCFBundleIdentifier == '" + bundleId + "' AND kMDItemPath LIKE '?*'";
    auto search = SpotlightEasySearch::create();
    search->setResultBlock([okBlock = std::move(okBlock),
                            applications = locations.systemApplicationsFolder, userApplications](
                               SpotlightEasySearch&, platform::MetadataQuery& query) {
        for (const auto& item : query.results()) {
            const auto path = item.valueForAttribute(platform::kMetadataItemPathKey);
            if (!path || !FileManagerUtils::fileExistsWithoutTraversingSymbolicLinkAtPath(*path)) {
                continue;
            }
            // A plain prefix test on purpose: "/ApplicationsOld/x.app" counts as well.
            if (path->starts_with(applications)) return;
            if (!userApplications.empty() && path->starts_with(userApplications)) return;
        }
        if (okBlock) okBlock();
    });
    std::vector<std::string> scopes{locations.systemApplicationsFolder};
    if (!userApplications.empty()) scopes.push_back(userApplications);
    search->startQuery(format, scopes);
}
