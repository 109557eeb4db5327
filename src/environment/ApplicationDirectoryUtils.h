#pragma once

#include <optional>
#include <string>

// Whether a path is an application, and which application or bundle
// encloses a path.
namespace ApplicationDirectoryUtils {

// False for nil.
bool isApplicationAtPath(const std::optional<std::string>& path);
// The same for a folder judged by the name it had before it was stored under
// another one (a Trash renames what it holds to keep names unique).
bool isApplicationAtPath(const std::string& path, const std::string& name);
// The URL form; a file URL is taken as its path. False for nil.
bool isApplicationAtURL(const std::optional<std::string>& fileUrl);

// The outermost application among the leading prefixes of the path, leaving
// out the path itself and its parent (so ".../X.app/Contents" is nil while
// ".../X.app/Contents/MacOS" is ".../X.app"). Nil when there is none.
std::optional<std::string> parentAppPathForPath(const std::optional<std::string>& path);
// As above, but a prefix ending in ".prefpane" or ".kext" (any case) also
// answers, whichever comes first.
std::optional<std::string> parentBundlePathForPath(const std::optional<std::string>& path);

}  // namespace ApplicationDirectoryUtils
