#include "platform/FileResources.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>

#include "platform/FileSystem.h"
#include "platform/PathUtils.h"

namespace platform {

namespace {

std::string lowercased(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) {
        return static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    });
    return text;
}

bool hasApplicationExtension(const std::string& path) {
    return lowercased(PathUtils::pathExtension(path)) == "app";
}

bool hasPackageExtension(const std::string& path) {
    // Lower-case forms of the extensions the platform shows as single items.
    static constexpr std::array<std::string_view, 18> kExtensions = {
        "app",       "bundle", "framework",   "plugin",     "kext",  "prefpane",
        "appex",     "xpc",    "qlgenerator", "mdimporter", "saver", "wdgt",
        "component", "docset", "pkg",         "mpkg",       "rtfd",  "photoslibrary"};
    const std::string extension = lowercased(PathUtils::pathExtension(path));
    return std::find(kExtensions.begin(), kExtensions.end(), extension) != kExtensions.end();
}

bool holdsInfoPlist(const std::string& folder) {
    struct stat info {};
    return ::stat(PathUtils::stringByAppendingPathComponent(folder, "Contents/Info.plist").c_str(),
                  &info) == 0;
}

bool isPackageFolder(const std::string& path) {
    return hasPackageExtension(path) || holdsInfoPlist(path);
}

// The flag as the file system keeps it, read through a descriptor. Only
// files and folders are opened: opening a device or a pipe can have effects.
bool immutableFlagThroughDescriptor(const std::string& path, mode_t mode) {
    if (!S_ISREG(mode) && !S_ISDIR(mode)) return false;
    const UniqueFd fd(
        ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_NOCTTY | O_CLOEXEC));
    if (!fd) return false;
    int flags = 0;  // the kernel reads and writes an int, whatever the macro says
    return ::ioctl(fd.get(), FS_IOC_GETFLAGS, &flags) == 0 && (flags & FS_IMMUTABLE_FL);
}

ResourceValues valuesFor(const std::string& path, mode_t mode, std::uint64_t linkCount,
                         std::uint64_t blocks, std::uint64_t size) {
    ResourceValues values;
    values.isDirectory = S_ISDIR(mode);
    values.isSymbolicLink = S_ISLNK(mode);
    values.isRegularFile = S_ISREG(mode);
    values.isApplication = values.isDirectory && hasApplicationExtension(path);
    values.isPackage = values.isDirectory && isPackageFolder(path);
    values.linkCount = values.isDirectory ? 1 : linkCount;
    values.totalFileAllocatedSize = blocks * 512;
    values.fileSize = size;
    return values;
}

}  // namespace

std::optional<ResourceValues> resourceValuesForPath(const std::string& path) {
    std::string entry = path;
    while (entry.size() > 1 && entry.back() == '/') entry.pop_back();
    if (entry.empty()) return std::nullopt;

    // statx gives the attributes with the rest in one call, and does not need
    // to open the entry, so an unreadable file still reports its flag.
    struct statx extended {};
    if (::statx(AT_FDCWD, entry.c_str(), AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT,
                STATX_TYPE | STATX_MODE | STATX_NLINK | STATX_SIZE | STATX_BLOCKS,
                &extended) == 0) {
        ResourceValues values = valuesFor(entry, extended.stx_mode, extended.stx_nlink,
                                          extended.stx_blocks, extended.stx_size);
        if (extended.stx_attributes_mask & STATX_ATTR_IMMUTABLE) {
            values.isImmutable = (extended.stx_attributes & STATX_ATTR_IMMUTABLE) != 0;
        } else {
            values.isImmutable = immutableFlagThroughDescriptor(entry, extended.stx_mode);
        }
        return values;
    }
    // Some sandboxes refuse statx itself; anything else means no entry.
    if (errno != ENOSYS && errno != EPERM) return std::nullopt;
    struct stat info {};
    if (::lstat(entry.c_str(), &info) != 0) return std::nullopt;
    ResourceValues values = valuesFor(
        entry, info.st_mode, static_cast<std::uint64_t>(info.st_nlink),
        static_cast<std::uint64_t>(info.st_blocks), static_cast<std::uint64_t>(info.st_size));
    values.isImmutable = immutableFlagThroughDescriptor(entry, info.st_mode);
    return values;
}

bool isApplicationAtPath(const std::string& path) {
    bool isDirectory = false;
    return hasApplicationExtension(path) && fileExistsAtPath(path, &isDirectory) && isDirectory;
}

bool isFilePackageAtPath(const std::string& path) {
    bool isDirectory = false;
    return fileExistsAtPath(path, &isDirectory) && isDirectory && isPackageFolder(path);
}

bool fileExistsAtPath(const std::string& path) {
    return fileExistsAtPath(path, nullptr);
}

bool fileExistsAtPath(const std::string& path, bool* isDirectory) {
    struct stat info {};
    if (path.empty() || ::stat(path.c_str(), &info) != 0) return false;
    if (isDirectory != nullptr) *isDirectory = S_ISDIR(info.st_mode);
    return true;
}

}  // namespace platform
