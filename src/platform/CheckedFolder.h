#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <functional>
#include <memory>
#include <string>

namespace platform {

// A folder that passed a check, known from then on by what it is on its disk
// (device and inode), not by its path: every read opens it afresh, never
// through a link at its place, goes on only if it is still that very folder,
// and reads through the descriptor it just opened. Whoever renames a folder
// above it or puts a link in its place afterwards changes nothing that is
// read. Nothing stays open between reads, so its disk can still be unmounted.
class CheckedFolder {
public:
    // The real folder at `path` (a link at its place is never followed), or
    // null when there is none.
    static std::shared_ptr<const CheckedFolder> open(const std::string& path);

    const std::string& path() const { return m_sPath; }
    uid_t owner() const { return m_nOwner; }
    mode_t mode() const { return m_nMode; }

    // Calls `read` with a path that leads to `inside` (path() or a path in
    // it) through a descriptor of this folder opened just now; false, without
    // calling it, when path() no longer leads to this folder.
    bool readThrough(const std::string& inside,
                     const std::function<void(const std::string& path)>& read) const;
    // Whether path() still names this folder, with no link on the way.
    bool isStillAt() const;
    bool isSameFolder(const CheckedFolder& other) const {
        return m_nDevice == other.m_nDevice && m_nInode == other.m_nInode;
    }

private:
    CheckedFolder(std::string path, const struct stat& info);

    std::string m_sPath;
    dev_t m_nDevice;
    ino_t m_nInode;
    uid_t m_nOwner;
    mode_t m_nMode;
};

}  // namespace platform
