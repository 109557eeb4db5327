#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>

// The on-disk size of files and folders, read as fast as the kernel allows:
// each folder is read in large batches through its descriptor and its entries
// are examined relative to it, without building their paths.
namespace platform {

// Decides from a sub-folder's link count whether a walk enters it. Folders
// report a link count of 1: Linux cannot hard-link them.
using DescendRule = bool (*)(std::uint64_t linkCount);

// The bytes the entry takes on disk (st_blocks * 512, a negative count read
// as 0), the entry itself examined (a final symbolic link is not followed).
// nullopt when nothing is there or it cannot be examined.
std::optional<std::uint64_t> allocatedSizeOfEntry(const std::string& path);

// What keeps a walk among the user's own files and lets its owner stop it.
struct FolderWalkLimits {
    // Set (from any thread) when the walk's owner goes away: the walk ends
    // at the next folder it would read and answers what it has so far.
    const std::atomic<bool>* abandoned = nullptr;
    // The user's home folder; empty for the password database's.
    std::string homeDirectory;
    // Whether the walk shares its sub-folders with the process's walk
    // threads (one per core, shared by every walk) or walks them one by one
    // on the caller's thread. Both answer the same.
    bool inParallel = true;
};

// The sum of the allocated sizes of everything below `folder` that is not a
// folder: files, symbolic links (never followed), and any other kind of
// entry. A file with several names (hard links) counts once, as du counts it. Hidden entries count
// and packages are entered; folders themselves add nothing. A sub-folder is entered when `descend`
// answers true for its link count. `folder` may itself be a symbolic link to a folder. Entries and
// folders that cannot be read are skipped, and what could be read is
// answered; 0 when `folder` cannot be opened as a folder at all.
//
// The walk stays on the file system `folder` is on: other file systems
// mounted below it are neither entered nor counted. A `folder` that is, or
// leads to, the root folder or a folder holding the user's home (the home
// itself included) is not walked at all: 0.
std::uint64_t allocatedSizeOfFolderContents(const std::string& folder, DescendRule descend,
                                            const FolderWalkLimits& limits = {});

}  // namespace platform
