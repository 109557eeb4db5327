#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

// Which applications are installed: a scan of the application folders for
// bundles with a given identifier. Nothing is registered or cached; every
// call looks at the disk again.
namespace platform::LaunchServices {

// The folders that hold applications, in the order they are searched:
// "/Applications", then "<home>/Applications" with the home folder from the
// password database (left out when the database has no entry).
std::vector<std::string> applicationFolders();

// Every application bundle (a folder named "*.app", any case) whose
// identifier equals bundleId, ASCII letters compared without case. Searched
// are the bundles directly in each root and in its plain sub-folders, down to
// kMaxFolderDepth levels below the root; the inside of a package (an
// application or any other bundle) is never searched, nor are hidden folders
// or folders reached through a symbolic link (a linked application itself is
// found). Roots in the order given, names in byte order within a folder; one
// bundle reached twice (through a link, or a root listed twice) is answered
// once, under the first path. Empty for an empty identifier.
std::vector<std::string> copiesOfBundleIdentifier(const std::string& bundleId,
                                                  const std::vector<std::string>& roots);
// The same in applicationFolders().
std::vector<std::string> copiesOfBundleIdentifier(const std::string& bundleId);

// The first of the copies above; nullopt when there is none.
std::optional<std::string> urlForApplicationWithBundleIdentifier(
    const std::string& bundleId, const std::vector<std::string>& roots);
std::optional<std::string> urlForApplicationWithBundleIdentifier(const std::string& bundleId);

// Levels of plain folders searched below a root (a root's own entries are
// level 0), and the most folder entries one search looks at, so that a huge
// or hostile folder cannot stall the caller.
inline constexpr int kMaxFolderDepth = 3;
inline constexpr std::size_t kMaxEntriesVisited = 20000;

}  // namespace platform::LaunchServices
