#include "watching/AppsInTrashWatcher.h"

#include <cstdio>

#include "environment/ApplicationDirectoryUtils.h"
#include "environment/PathsGenerator.h"
#include "watching/BundleExcludeList.h"

std::shared_ptr<AppsInTrashWatcher> AppsInTrashWatcher::create(
    std::weak_ptr<AppsInTrashWatcherListener> listener) {
    return create(std::move(listener), PathsGenerator::GetInstance().buildTrashDirectory());
}

std::shared_ptr<AppsInTrashWatcher> AppsInTrashWatcher::create(
    std::weak_ptr<AppsInTrashWatcherListener> listener, std::string trashPath) {
    auto watcher =
        std::make_shared<AppsInTrashWatcher>(Private{}, std::move(listener), std::move(trashPath));
    watcher->startWatching();
    return watcher;
}

AppsInTrashWatcher::AppsInTrashWatcher(Private, std::weak_ptr<AppsInTrashWatcherListener> listener,
                                       std::string trashPath)
    : m_pListener(std::move(listener)), m_sTrashPath(std::move(trashPath)) {}

void AppsInTrashWatcher::startWatching() {
    // Only this one Trash is watched; those of other volumes are not.
    m_pTrashWatcher = DirectoryWatcher::create(m_sTrashPath);
    m_pTrashWatcher->setDelegate(weak_from_this());
    // Without kernel events nothing new in the Trash is ever seen; the agent
    // goes on with its other work.
    if (!m_pTrashWatcher->isWatching()) {
        std::fprintf(stderr, "AppsInTrashWatcher: no file event queue; the Trash is not watched\n");
    }
}

void AppsInTrashWatcher::onAddedAppWithPath(const std::string& path) {
    auto bundle = isReallyAppBundlePath(path);
    if (!bundle) return;
    if (auto listener = m_pListener.lock()) listener->onAppMovedToTrash(bundle);
}

std::shared_ptr<platform::Bundle> AppsInTrashWatcher::isReallyAppBundlePath(
    const std::string& path) {
    if (!ApplicationDirectoryUtils::isApplicationAtPath(path)) return nullptr;
    if (ApplicationDirectoryUtils::parentBundlePathForPath(path)) return nullptr;
    auto bundle = platform::Bundle::bundleWithPath(path);
    if (!bundle) return nullptr;
    const auto identifier = bundle->bundleIdentifier();
    if (!identifier) return nullptr;
    // The product's own bundles are never offered for clean-up.
    if (BundleExcludeList::GetInstance().isSystemBundleID(identifier, false)) return nullptr;
    return bundle;
}
