#pragma once

#include <cstdint>
#include <optional>
#include <string>

// What the system reads about a file-system entry (the URL resource values
// and file-manager attributes), worked out from the entry itself.
namespace platform {

struct ResourceValues {
    bool isDirectory = false;
    bool isSymbolicLink = false;
    bool isRegularFile = false;
    // A folder named with the "app" extension (see isApplicationAtPath).
    bool isApplication = false;
    // A folder that is shown as one item (see isFilePackageAtPath).
    bool isPackage = false;
    // Folders report 1: Linux cannot hard-link them, so only a file can be
    // reached by more than one name.
    std::uint64_t linkCount = 0;
    // Bytes the entry takes on disk (st_blocks * 512). Folders report their
    // own blocks too; a size walk that wants file contents only skips them.
    std::uint64_t totalFileAllocatedSize = 0;
    // The logical size in bytes.
    std::uint64_t fileSize = 0;
    // The inode's immutable attribute (a "locked" entry cannot be changed,
    // renamed or removed, not even by its owner).
    bool isImmutable = false;
};

// The values of the entry at the path itself: a final symbolic link is not
// followed (a trailing "/" does not make it followed either: it names the
// same entry), so a link is never a folder, an application or a package.
// nullopt when nothing is there or it cannot be examined.
std::optional<ResourceValues> resourceValuesForPath(const std::string& path);

// A folder, links followed, whose name has the extension "app" in any case.
// Extensions are matched without regard to case, as the platform's type
// lookup does, so "Tool.APP" is an application too.
bool isApplicationAtPath(const std::string& path);

// A folder, links followed, that is shown as one item: its extension (any
// case) is one of the package extensions (app, bundle, framework, plugin,
// kext, prefPane, appex, xpc, qlgenerator, mdimporter, saver, wdgt,
// component, docset, pkg, mpkg, rtfd, photoslibrary), or it holds
// "Contents/Info.plist". Localisation folders (".lproj") are plain folders.
bool isFilePackageAtPath(const std::string& path);

// Whether something exists at the path, links followed (a dangling link does
// not exist). The second form also tells whether it is a folder; the flag is
// left alone when nothing exists, and may be null.
bool fileExistsAtPath(const std::string& path);
bool fileExistsAtPath(const std::string& path, bool* isDirectory);

}  // namespace platform
