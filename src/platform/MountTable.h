#pragma once

#include <sys/types.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/FileSystem.h"

namespace platform {

// One mounted file system, as the kernel's mount table names it.
struct MountPoint {
    std::string path;  // where it is mounted
    std::string type;  // "ext4", "vfat", "tmpfs"...
    bool operator==(const MountPoint&) const = default;
};

namespace MountTable {

// The mount points of a mount table in the form of /proc/self/mountinfo, in
// its order, with the kernel's octal escapes in paths ("\040" for a space)
// decoded. Kernel-only file systems (proc, sysfs, cgroup...) and read-only
// images (squashfs) are left out: no one trashes anything there. A line that
// does not have the table's shape is skipped. A volume's label can become a
// mount point's name, so the text is treated as outside input.
std::vector<MountPoint> parse(std::string_view text);

// The current table of this process (empty when it cannot be read).
std::vector<MountPoint> current();

// The Trash folder (the one that holds "files" and "info") of `uid` on the
// file system mounted at `topDirectory`, when there is one this user can
// trust: "$top/.Trash/$uid" when "$top/.Trash" is a real folder with the
// sticky bit set, else "$top/.Trash-$uid"; either must be a real folder (not
// a link) owned by `uid` that no one else may write, and no other user may be
// able to rename anything on the way to it: every folder above it, up to
// "/", is the user's or root's and closed to others, but for a sticky one of
// root's or the user's (the rule for a program to start, BundleTrust).
// nullopt when there is none (yet).
std::optional<std::string> trashFolderOfMount(const std::string& topDirectory, uid_t uid);

}  // namespace MountTable

}  // namespace platform
