#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

// Which applications are installed: a scan of the application folders for
// bundles with a given identifier. Nothing is registered or cached; every
// call looks at the disk again.
namespace platform {
class UserDefaults;
}

namespace platform::LaunchServices {

// The key of the Helper's settings store that names more folders holding
// applications: an array of strings, each an absolute path or "~/..." (under
// the home folder). Other values are ignored.
inline constexpr const char* kApplicationFoldersKey = "ApplicationFolders";

// The folders that hold applications, in the order they are searched:
// "/Applications", then "<home>/Applications" with the home folder from the
// password database (left out when there is no usable home), then those
// the Helper's settings store names. Each folder is listed once.
std::vector<std::string> applicationFolders();
// The same with the given home folder and settings store.
std::vector<std::string> applicationFolders(const std::string& home, UserDefaults& settings);

// Every application bundle (a folder named "*.app", any case) whose
// identifier equals bundleId, ASCII letters compared without case. Searched
// are the bundles directly in each root and in its plain sub-folders, down to
// kMaxFolderDepth levels below the root; the inside of a package (an
// application or any other bundle) is never searched, nor are hidden folders
// or folders reached through a symbolic link (a linked application itself is
// found). Roots in the order given, names in byte order within a folder; one
// bundle reached twice (through a link, or a root listed twice) is answered
// once, under the first path. Empty for an empty identifier. Each root has a
// budget of its own, so that a crowded "/Applications" cannot keep the
// user's own folder from being read.
std::vector<std::string> copiesOfBundleIdentifier(const std::string& bundleId,
                                                  const std::vector<std::string>& roots);
// The same in applicationFolders().
std::vector<std::string> copiesOfBundleIdentifier(const std::string& bundleId);

// The first of the copies above; nullopt when there is none.
std::optional<std::string> urlForApplicationWithBundleIdentifier(
    const std::string& bundleId, const std::vector<std::string>& roots);
std::optional<std::string> urlForApplicationWithBundleIdentifier(const std::string& bundleId);

// Levels of plain folders searched below a root (a root's own entries are
// level 0), and the most folder entries looked at below one root, so that a
// huge or hostile folder cannot stall the caller.
inline constexpr int kMaxFolderDepth = 3;
inline constexpr std::size_t kMaxEntriesVisited = 20000;

}  // namespace platform::LaunchServices
