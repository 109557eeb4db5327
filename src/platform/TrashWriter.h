#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace platform {

// Moves entries into the desktop Trash the way the desktop's file managers
// do, so that they list each one under the place it came from and can put it
// back there: the item goes into the Trash's "files" folder and its original
// path and the time into "info/<stored name>.trashinfo".
//
// An entry is only ever renamed: never copied, never deleted, never put
// anywhere but a Trash folder this user owns. The info file is reserved first
// with an exclusive create, so two movers never share a stored name, and the
// rename never replaces anything.
class TrashWriter {
public:
    // A mounted disk's own Trash that the caller trusts (the agent's set of
    // Trash folders decides which): `trashDirectory` holds "files" and
    // "info", `topDirectory` is where the disk is mounted.
    struct DiskTrash {
        std::string trashDirectory;
        std::string topDirectory;
    };

    struct Result {
        bool moved = false;
        // Moved: where the item is now, inside the Trash's "files" folder.
        std::string where;
        // Not moved: why, in English, for the window and the log.
        std::string why;
    };

    // `homeTrash` is the home Trash ($XDG_DATA_HOME/Trash), nullopt when the
    // user has no data folder to hold one; it and its folders are made
    // (0700) when missing. `uid` is whose Trash folders must be.
    TrashWriter(std::optional<std::string> homeTrash, std::vector<DiskTrash> disks, uid_t uid);

    // Moves the entry at the absolute, plain `path` (a link is moved as a
    // link) into the home Trash when both lie on one file system, else into
    // the Trash of the entry's disk when that is one of the trusted ones;
    // else nothing happens and the result says why.
    Result moveToTrash(const std::string& path) const;

    // The Path value of a trash info: every byte but letters, digits, "-._~"
    // and "/" as "%XX", so that any name (a "%", a newline, bytes that are
    // no UTF-8) reads back as it was.
    static std::string percentEncoded(const std::string& path);

private:
    std::optional<std::string> m_pHomeTrash;
    std::vector<DiskTrash> m_arrDisks;
    uid_t m_nUid;
};

}  // namespace platform
