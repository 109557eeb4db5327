#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <functional>
#include <optional>
#include <string>

namespace platform {

// Whether a program may be started as this user. A program that another
// local user could have written or could swap for another is never run: the
// program file and every folder above it must belong to the user or to root
// and be writable by nobody else. The one exception is a folder like /tmp:
// root's (or the user's own), open to all but sticky, so that no one but the
// owner of an entry may rename or remove it; what lies below it must still
// pass the rule. A
// bundle's executable must also lie inside the bundle once links are
// resolved.
//
// Every start of a program goes through one of these checks.
class BundleTrust {
public:
    // How the file system is seen: `resolve` gives the canonical absolute
    // path of an existing file (nullopt when it cannot), `lstat` describes
    // one path without following a link. Tests give fake ones.
    struct FileSystem {
        std::function<std::optional<std::string>(const std::string&)> resolve;
        std::function<std::optional<struct stat>(const std::string&)> lstat;
        static FileSystem real();
    };

    // The rule for the real user and file system, checked up to "/".
    BundleTrust();
    // `trustedRoot`: the walk up stops after this folder, which is still
    // checked; folders above it are taken as sound. Only tests move it from
    // "/", to work inside a private folder below /tmp.
    BundleTrust(uid_t uid, std::string trustedRoot, FileSystem fileSystem = FileSystem::real());

    // The path, resolved, is the user's or root's, as is every folder above
    // it, and none of them can be written by the group or others (but for a
    // sticky folder of root's above it). A file must be a regular one.
    bool isTrustedPath(const std::string& path) const;

    // The executable of an application bundle when both may be started: the
    // bundle is trusted, and its executable (resolved) is a trusted regular
    // file inside it. nullopt otherwise.
    std::optional<std::string> trustedExecutableOfBundle(const std::string& bundlePath) const;

    // The same for what openFile is given: a bundle (folder) or an
    // executable file, absolute. nullopt when it may not be run.
    std::optional<std::string> trustedProgram(const std::string& application) const;

private:
    bool isSafeEntry(const struct stat& info) const;
    bool isSharedStickyFolder(const struct stat& info) const;

    uid_t m_nUid;
    std::string m_sTrustedRoot;
    FileSystem m_fileSystem;
};

}  // namespace platform
