#include "environment/ApplicationDirectoryUtils.h"

#include <vector>

#include "environment/MacOSVersion.h"
#include "environment/StringUtils.h"
#include "platform/FileResources.h"
#include "platform/PathUtils.h"

namespace ApplicationDirectoryUtils {

namespace {

bool isApplication(const std::string& path) {
    if (MacOSVersion::GetInstance().is_10_11_orHigher()) {
        return platform::isApplicationAtPath(path);
    }
    // Older systems had no is-application value: a package named ".app".
    const std::string last = platform::PathUtils::lastPathComponent(path);
    return platform::isFilePackageAtPath(path) && last.size() > 4 &&
           last.compare(last.size() - 4, 4, ".app") == 0;
}

template <typename Stop>
std::optional<std::string> walkPrefixes(const std::string& path, Stop stopAt) {
    const std::vector<std::string> components = platform::PathUtils::pathComponents(path);
    const std::size_t count = components.size();
    if (count == 0 || count - 1 < 2) return std::nullopt;
    // Candidates are the prefixes of 1 .. count-2 components.
    std::string prefix = components[0];
    for (std::size_t used = 1;; ++used) {
        if (stopAt(prefix)) return prefix;
        if (used + 1 > count - 2) return std::nullopt;
        prefix = platform::PathUtils::stringByAppendingPathComponent(prefix, components[used]);
    }
}

}  // namespace

bool isApplicationAtPath(const std::optional<std::string>& path) {
    return path && !path->empty() && isApplication(*path);
}

bool isApplicationAtPath(const std::string& path, const std::string& name) {
    bool isDirectory = false;
    const std::string extension = platform::PathUtils::pathExtension(name);
    return extension.size() == 3 && StringUtils::hasCaseInsensitiveSuffix(extension, "app") &&
           platform::fileExistsAtPath(path, &isDirectory) && isDirectory;
}

bool isApplicationAtURL(const std::optional<std::string>& fileUrl) {
    if (!fileUrl) return false;
    static const std::string kScheme = "file://";
    if (fileUrl->compare(0, kScheme.size(), kScheme) == 0) {
        return isApplicationAtPath(fileUrl->substr(kScheme.size()));
    }
    return isApplicationAtPath(fileUrl);
}

std::optional<std::string> parentAppPathForPath(const std::optional<std::string>& path) {
    if (!path) return std::nullopt;
    return walkPrefixes(*path, [](const std::string& prefix) { return isApplication(prefix); });
}

std::optional<std::string> parentBundlePathForPath(const std::optional<std::string>& path) {
    if (!path) return std::nullopt;
    return walkPrefixes(*path, [](const std::string& prefix) {
        return StringUtils::hasCaseInsensitiveSuffix(prefix, std::string(".prefpane")) ||
               StringUtils::hasCaseInsensitiveSuffix(prefix, std::string(".kext")) ||
               isApplication(prefix);
    });
}

}  // namespace ApplicationDirectoryUtils
