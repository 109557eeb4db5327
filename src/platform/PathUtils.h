#pragma once

#include <optional>
#include <string>
#include <vector>

// The path methods of the platform string class, as free functions on UTF-8
// strings. "/" is the separator and "." the extension divider. Apart from
// stringByStandardizingPath (which, like the original, consults the password
// database and the file system) they never touch the file system.
//
// Most of them work on the path in its reduced form: runs of "/" become one
// and a trailing "/" is dropped unless the path is "/" itself, so "a//b/" is
// read as "a/b".
namespace platform::PathUtils {

// The path with the component appended, a separator put between them as
// needed; the result is in reduced form ("/tmp/" + "/b/" gives "/tmp/b").
std::string stringByAppendingPathComponent(const std::string& path, const std::string& component);

// The last component ("/tmp/" gives "tmp", "/" gives "/", "" gives "").
std::string lastPathComponent(const std::string& path);

// The path less its last component and that component's separator; "/" and
// paths directly below the root give "/", a lone relative name gives "".
std::string stringByDeletingLastPathComponent(const std::string& path);

// What follows the last "." of the last component, without the dot; "" when
// there is none. A leading dot does not start an extension (".profile" has
// none), nor does a dot whose removal would leave "." or "..".
std::string pathExtension(const std::string& path);

// The path (in reduced form) less its extension and the dot before it.
std::string stringByDeletingPathExtension(const std::string& path);

// The path (in reduced form) with "." and the extension appended. nullopt
// where the original answers nil: an empty path, the root alone, or an
// extension that contains a separator. An empty extension leaves the path as
// it is (no trailing dot).
std::optional<std::string> stringByAppendingPathExtension(const std::string& path,
                                                          const std::string& ext);

// The components: a leading "/" is the first one, a trailing "/" the last
// one, empty components are dropped ("/tmp/x/" gives "/", "tmp", "x", "/").
std::vector<std::string> pathComponents(const std::string& path);

// The components joined by separators, runs of separators made one: a "/"
// first component makes the path absolute, an empty last one gives a
// trailing "/", and pathComponents' output joins back to the reduced path.
std::string pathWithComponents(const std::vector<std::string>& components);

// The standard form of a path: an initial "~" or "~user" expanded, "//" and
// "/./" reduced, the trailing "/" dropped, and in absolute paths ".."
// resolved to the real parent folder (symbolic links before it followed when
// the folder exists, textually otherwise). ".." stays in relative paths.
// The first form takes the home folder from the password database; the second
// is given the home folder that "~" stands for ("~user" is still looked up).
std::string stringByStandardizingPath(const std::string& path);
std::string stringByStandardizingPath(const std::string& path, const std::string& home);

// Whether the path is absolute: it begins with "/" or with a tilde expression.
bool isAbsolutePath(const std::string& path);

}  // namespace platform::PathUtils
