#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "platform/CheckedFolder.h"
#include "platform/MountTable.h"

class PathsGenerator;

// One folder that trashed items are moved into.
struct TrashFolder {
    enum class Kind {
        Home,     // ~/.Trash: items keep their own names
        Desktop,  // the home desktop Trash: "files" beside "info"
        Volume,   // a mounted disk's desktop Trash
    };
    Kind kind = Kind::Home;
    // The folder that holds the items.
    std::string path;
    // Desktop and Volume: the Trash folder that holds "files" and "info".
    std::string trashDirectory;
    // Volume: where the disk is mounted (its items' Paths are relative to it).
    std::string topDirectory;
    // Volume: the Trash folder (trashDirectory) that passed the trust check;
    // it is listed and its trash info read through this, only while it is
    // still that folder.
    std::shared_ptr<const platform::CheckedFolder> checked;

    bool hasTrashInfo() const { return kind != Kind::Home; }
    // Whether the folder is still where it was checked (always, for the home's).
    bool isStillInPlace() const { return !checked || checked->isStillAt(); }
    // The same folder: the same paths and, for a disk's Trash, the same
    // folder on the disk (one made again in its place is another).
    bool operator==(const TrashFolder& other) const {
        return kind == other.kind && path == other.path &&
               trashDirectory == other.trashDirectory && topDirectory == other.topDirectory &&
               !checked == !other.checked && (!checked || checked->isSameFolder(*other.checked));
    }
};

// The Trash as the whole system means it: the user's ~/.Trash, the home
// desktop Trash (under the XDG data folder) and the desktop Trash of every
// mounted file system that the user alone controls. A copy of an application
// in any of them is trashed, never installed.
namespace TrashFolders {

// The user's own two, whether they exist yet or not.
std::vector<TrashFolder> ofHome(const PathsGenerator& paths);
// Those two and the Trash of each mount that has one now (the home's own
// mounts included: their Trash holds what was trashed from outside the home),
// each disk's held open from the moment it passed the trust check.
std::vector<TrashFolder> all(const PathsGenerator& paths,
                             const std::vector<platform::MountPoint>& mounts, uid_t uid);

// The folder of `folders` that holds the path (strictly inside), or null.
const TrashFolder* folderHolding(const std::vector<TrashFolder>& folders, const std::string& path);

// The name an item directly in one of `folders` had before it was trashed: a
// desktop Trash that already held "Notes.app" stores the next one as
// "Notes.2.app" or "Notes.app (1)", and only the item's trash info keeps
// "Notes.app". The stored name when there is no such info.
std::string nameBeforeTrashing(const std::vector<TrashFolder>& folders, const std::string& path);

// Whether the path lies inside a Trash: one of the home's, or any disk's
// "<top>/.Trash-<uid>/files" or "<top>/.Trash/<uid>/files", whoever's it is.
bool isInAnyTrash(const PathsGenerator& paths, const std::string& path);

}  // namespace TrashFolders
