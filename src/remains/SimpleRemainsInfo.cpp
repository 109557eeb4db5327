#include "remains/SimpleRemainsInfo.h"

#include <algorithm>
#include <cassert>

#include "dispatch/MainQueue.h"
#include "environment/LeftoverPlaces.h"
#include "environment/StringUtils.h"
#include "platform/Bundle.h"
#include "platform/DirectoryLister.h"
#include "platform/PasswordDatabase.h"
#include "platform/PathUtils.h"
#include "remains/InstalledCopies.h"
#include "watching/FileManagerUtils.h"

namespace {

// A name that is one entry of one folder: anything that could name a path of
// its own ("a/b", "..") or be cut short by the system (a NUL) is refused.
bool isSingleComponent(const std::string& name) {
    return !name.empty() && name != "." && name != ".." &&
           name.find_first_of(std::string("/\0", 2)) == std::string::npos;
}

// Names that short ("a", "Go") begin too many other names to stand for one
// application's files.
constexpr std::size_t kMinPrefixLength = 3;

// An identifier made of at least two non-empty dot-separated parts
// ("com.example"); "com." or ".x" would match whole families of files.
bool isQualifiedIdentifier(const std::string& id) {
    if (id.size() < kMinPrefixLength || !isSingleComponent(id)) return false;
    if (id.front() == '.' || id.back() == '.') return false;
    if (id.find("..") != std::string::npos) return false;
    return id.find('.') != std::string::npos;
}

// A launch agent of the identifier: "<id>.plist" or "<id>.<more>.plist", never
// "<id>x.plist", which belongs to an identifier that merely starts the same.
bool isLaunchAgentOf(const std::string& entry, const std::string& id) {
    const std::string suffix = ".plist";
    if (!isQualifiedIdentifier(id) || !entry.starts_with(id) || !entry.ends_with(suffix)) {
        return false;
    }
    if (entry.size() == id.size() + suffix.size()) return true;
    return entry.size() > id.size() + suffix.size() + 1 && entry[id.size()] == '.';
}

// A crash-reporter file of the process: "<name>.plist", or the process name,
// "_" and what the reporter adds to tell machines apart ("<name>_<host>.plist").
// "<name>x.plist" is another program's.
bool isCrashReportOf(const std::string& entry, const std::string& name) {
    const std::string suffix = ".plist";
    if (name.size() < kMinPrefixLength || !isSingleComponent(name) || !entry.starts_with(name) ||
        !entry.ends_with(suffix)) {
        return false;
    }
    if (entry.size() == name.size() + suffix.size()) return true;
    return entry.size() > name.size() + suffix.size() + 1 && entry[name.size()] == '_';
}

// The entries of a folder, one level, sorted so the order does not depend on
// the file system; empty when it cannot be read.
std::vector<std::string> folderEntries(const std::string& folder) {
    std::vector<std::string> names =
        platform::DirectoryLister::contentsOfDirectoryAtPath(folder).names;
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace

std::shared_ptr<SimpleRemainsInfo> SimpleRemainsInfo::create(
    const std::shared_ptr<platform::Bundle>& bundle,
    std::weak_ptr<SimpleRemainsInfoListener> listener) {
    return create(bundle, std::move(listener), PathsGenerator::GetInstance(), nullptr);
}

std::shared_ptr<SimpleRemainsInfo> SimpleRemainsInfo::create(
    const std::shared_ptr<platform::Bundle>& bundle,
    std::weak_ptr<SimpleRemainsInfoListener> listener, const PathsGenerator& paths,
    std::shared_ptr<SimpleSizeCalculation> calculation) {
    assert(dispatch::MainQueue::main().isCurrent());
    if (!bundle) return nullptr;
    if (!calculation) calculation = SimpleSizeCalculation::GetInstance().shared_from_this();
    std::shared_ptr<SimpleRemainsInfo> info(
        new SimpleRemainsInfo(std::move(listener), std::move(calculation)));
    info->m_sBundleID = bundle->bundleIdentifier();
    // The executable's name, or the bundle folder's name without its extension.
    info->m_sBundleName = bundle->executableName().value_or(
        platform::PathUtils::stringByDeletingPathExtension(bundle->nameBeforeTrashing()));
    info->addBundle(bundle);
    info->findRemains(paths);
    for (const auto& item : info->m_arrRemainsObjectPaths) info->addSizeOfPath(item->path());
    return info;
}

SimpleRemainsInfo::SimpleRemainsInfo(std::weak_ptr<SimpleRemainsInfoListener> listener,
                                     std::shared_ptr<SimpleSizeCalculation> calculation)
    : m_pListener(std::move(listener)), m_pCalculation(std::move(calculation)) {}

void SimpleRemainsInfo::addBundle(const std::shared_ptr<platform::Bundle>& bundle) {
    if (!bundle || !m_sBundleID || bundle->bundleIdentifier() != m_sBundleID) return;
    if (bundle->path().empty()) return;
    m_arrAppObjectPaths.push_back(
        std::make_shared<PathForRemove>(bundle->path(), kTypeApplication, *m_sBundleID));
    addSizeOfPath(bundle->path());
}

void SimpleRemainsInfo::findRemains(const PathsGenerator& paths) {
    m_sHomePath = paths.getHomeDirectory();
    // A home of "/" would make "Library/..." the system's folders.
    if (!platform::isUsableHomeDirectory(*m_sHomePath)) m_sHomePath.reset();
    const auto& id = m_sBundleID;
    const std::optional<std::string> name = m_sBundleName;
    namespace places = LeftoverPlaces;
    const auto in = [](std::string_view folder) { return std::string(folder); };
    addFileWithSubPath(in(places::kCaches), id, "", kTypeCache);
    addFileWithSubPath(in(places::kSavedState), id, ".savedState", kTypeCache);
    addFileWithSubPath(in(places::kPreferences), id, ".plist", kTypePreferences);
    addFileWithSubPath(in(places::kPreferences), name, "", kTypePreferences);
    addFileWithSubPath(in(places::kLogs), name, ".log", kTypeLog);
    addFileWithSubPath(in(places::kCookies), id, ".cookies", kTypeCookies);
    addFileWithSubPath(in(places::kContainers), id, "", kTypeContainer);
    addFileWithSubPath(in(places::kHelpGenerated), id, ".help", kTypeSupportItem);
    addFileWithSubPath(in(places::kHelpIndex), id, ".help", kTypeSupportItem);
    addFileWithSubPath(in(places::kGrowlTickets), name, ".growlTicket", kTypeSupportItem);
    addFileWithSubPath(in(places::kApplicationSupport), name, "", kTypeSupportItem);
    addPathInSubFolder(in(places::kLaunchAgents), id, &isLaunchAgentOf, m_arrRemainsObjectPaths,
                       kTypeSupportItem);
    addPathInSubFolder(in(places::kCrashReporter), name, &isCrashReportOf,
                       m_arrRemainsObjectPaths, kTypeCrashReport);
}

void SimpleRemainsInfo::addFileWithSubPath(const std::string& subPath,
                                           const std::optional<std::string>& name,
                                           const std::string& ext, std::int32_t type) {
    // The name is tested before the extension is added, so an empty name finds nothing.
    if (!name || name->empty() || !m_sHomePath) return;
    const std::string folder =
        platform::PathUtils::stringByAppendingPathComponent(*m_sHomePath, subPath);
    if (auto candidate = createSafeToDeletePathInFolder(folder, *name + ext)) {
        addPath(*candidate, m_arrRemainsObjectPaths, type);
    }
}

std::optional<std::string> SimpleRemainsInfo::createSafeToDeletePathInFolder(
    const std::optional<std::string>& folder, const std::optional<std::string>& fileName) {
    if (!folder || !fileName) return std::nullopt;
    // Exactly one entry of the folder: the identifier and executable name come
    // from an Info.plist anyone may have written, and "Vendor/Browser" would
    // otherwise name another application's data one level further down.
    if (!isSingleComponent(*fileName)) return std::nullopt;
    std::string path = platform::PathUtils::stringByStandardizingPath(
        platform::PathUtils::stringByAppendingPathComponent(*folder, *fileName));
    if (!StringUtils::isInFolder(path, *folder)) return std::nullopt;
    return path;
}

void SimpleRemainsInfo::addPath(const std::string& path, PathList& toArr, std::int32_t withType) {
    // A dangling link is still something the application left behind.
    if (!FileManagerUtils::fileExistsWithoutTraversingSymbolicLinkAtPath(path)) return;
    // An entry needs an identifier to belong to; without one nothing is listed.
    if (!m_sBundleID) return;
    toArr.push_back(std::make_shared<PathForRemove>(path, withType, *m_sBundleID));
}

void SimpleRemainsInfo::addPathInSubFolder(const std::string& subPath,
                                           const std::optional<std::string>& prefix,
                                           EntryRule belongs, PathList& toArr,
                                           std::int32_t withType) {
    if (subPath.empty() || !m_sHomePath) return;
    if (!prefix || prefix->empty() || !m_sBundleID) return;
    const std::string folder =
        platform::PathUtils::stringByAppendingPathComponent(*m_sHomePath, subPath);
    if (!FileManagerUtils::fileExistsWithoutTraversingSymbolicLinkAtPath(folder)) return;
    for (const auto& name : folderEntries(folder)) {
        if (!belongs(name, *prefix)) continue;
        // The names come from the listing itself, so no safety check is needed.
        toArr.push_back(std::make_shared<PathForRemove>(
            platform::PathUtils::stringByAppendingPathComponent(folder, name), withType,
            *m_sBundleID));
    }
}

void SimpleRemainsInfo::addSizeOfPath(const std::string& path) {
    if (auto calculation = m_pCalculation.lock()) {
        calculation->addTask(std::make_shared<SimpleSizeCalculationTask>(shared_from_this(), path));
    }
}

void SimpleRemainsInfo::onSimpleSizeCalculationTaskComplete(
    const std::shared_ptr<SimpleSizeCalculationTask>& task) {
    updateSize(task->itemSize());
}

void SimpleRemainsInfo::updateSize(std::uint64_t size) {
    m_nTotalSize += size;
    // Told even when the size is 0: the listener counts answers too.
    if (auto listener = m_pListener.lock())
        listener->onSimpleRemainsInfoChanged(shared_from_this());
}

void SimpleRemainsInfo::addRemoveObjectPathsToArray(PathList& array) const {
    array.insert(array.end(), m_arrAppObjectPaths.begin(), m_arrAppObjectPaths.end());
    array.insert(array.end(), m_arrRemainsObjectPaths.begin(), m_arrRemainsObjectPaths.end());
}

void SimpleRemainsInfo::calculateIsCanShowNotificationForBundleWithID(
    const std::optional<std::string>& bundleId, std::function<void()> okBlock) {
    InstalledCopies(InstalledCopies::Locations::standard())
        .whenNoneInstalled(bundleId, std::move(okBlock));
}
