#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "environment/PathsGenerator.h"
#include "messages/PathForRemove.h"
#include "remains/SimpleSizeCalculation.h"
#include "remains/SimpleSizeCalculationTask.h"

namespace platform {
class Bundle;
}

class SimpleRemainsInfo;

// Told on the main thread each time the total size changes.
class SimpleRemainsInfoListener {
public:
    virtual ~SimpleRemainsInfoListener() = default;
    virtual void onSimpleRemainsInfoChanged(const std::shared_ptr<SimpleRemainsInfo>& info) = 0;
};

// What a trashed application leaves behind in the user's Library: the
// application bundle itself and its remains, each sized in the background,
// with a running total. Main thread only. The size tasks hold the object, so
// it lives until its last size has arrived.
class SimpleRemainsInfo : public SimpleSizeCalculationTaskListener,
                          public std::enable_shared_from_this<SimpleRemainsInfo> {
public:
    // Remains-type codes, as the removal list carries them.
    static constexpr std::int32_t kTypeApplication = 0;
    static constexpr std::int32_t kTypeSupportItem = 3;
    static constexpr std::int32_t kTypeCache = 8;
    static constexpr std::int32_t kTypeContainer = 9;
    static constexpr std::int32_t kTypePreferences = 10;
    static constexpr std::int32_t kTypeLog = 11;
    static constexpr std::int32_t kTypeCookies = 12;
    static constexpr std::int32_t kTypeCrashReport = 13;

    // Lists the bundle and its remains and starts sizing them all; null for
    // a null bundle. The second form searches the home folder of `paths` and
    // sizes on `calculation` (null: the shared calculator), which the caller
    // keeps alive.
    static std::shared_ptr<SimpleRemainsInfo> create(
        const std::shared_ptr<platform::Bundle>& bundle,
        std::weak_ptr<SimpleRemainsInfoListener> listener);
    static std::shared_ptr<SimpleRemainsInfo> create(
        const std::shared_ptr<platform::Bundle>& bundle,
        std::weak_ptr<SimpleRemainsInfoListener> listener, const PathsGenerator& paths,
        std::shared_ptr<SimpleSizeCalculation> calculation);

    // Adds another copy of the same application (same identifier, compared
    // exactly) and sizes it; anything else is ignored.
    void addBundle(const std::shared_ptr<platform::Bundle>& bundle);

    // Folder joined with the file name and standardised, answered only when the
    // name is exactly one path component (not empty, no "/", not "." or "..",
    // no NUL) and the result lies strictly inside the folder; nullopt for
    // either argument nil. So an identifier like "../x" or an executable name
    // like "Vendor/Browser" cannot reach outside the one entry searched for.
    static std::optional<std::string> createSafeToDeletePathInFolder(
        const std::optional<std::string>& folder, const std::optional<std::string>& fileName);

    std::uint64_t getTotalSize() const { return m_nTotalSize; }
    // The application entries, then the remains, each in the order found:
    // the order of the removal list.
    void addRemoveObjectPathsToArray(std::vector<std::shared_ptr<PathForRemove>>& array) const;

    // The identifier and the executable name the search used.
    const std::optional<std::string>& bundleID() const { return m_sBundleID; }
    const std::string& bundleName() const { return m_sBundleName; }

    void onSimpleSizeCalculationTaskComplete(
        const std::shared_ptr<SimpleSizeCalculationTask>& task) override;

    // Calls okBlock once, on the main thread, when no other copy of the
    // application is installed (see InstalledCopies); nothing for nil.
    static void calculateIsCanShowNotificationForBundleWithID(
        const std::optional<std::string>& bundleId, std::function<void()> okBlock);

private:
    using PathList = std::vector<std::shared_ptr<PathForRemove>>;

    SimpleRemainsInfo(std::weak_ptr<SimpleRemainsInfoListener> listener,
                      std::shared_ptr<SimpleSizeCalculation> calculation);

    void findRemains(const PathsGenerator& paths);
    void addFileWithSubPath(const std::string& subPath, const std::optional<std::string>& name,
                            const std::string& ext, std::int32_t type);
    void addPath(const std::string& path, PathList& toArr, std::int32_t withType);
    // Whether a folder entry's name is one of the application's, given its
    // identifier or executable name.
    using EntryRule = bool (*)(const std::string& entry, const std::string& prefix);
    void addPathInSubFolder(const std::string& subPath, const std::optional<std::string>& prefix,
                            EntryRule belongs, PathList& toArr, std::int32_t withType);
    void addSizeOfPath(const std::string& path);
    void updateSize(std::uint64_t size);

    std::weak_ptr<SimpleRemainsInfoListener> m_pListener;
    std::optional<std::string> m_sBundleID;
    std::string m_sBundleName;
    PathList m_arrAppObjectPaths;
    PathList m_arrRemainsObjectPaths;
    std::uint64_t m_nTotalSize = 0;
    std::optional<std::string> m_sHomePath;
    // Not owned: the calculator's pile holds tasks that hold us.
    std::weak_ptr<SimpleSizeCalculation> m_pCalculation;
};
