#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <memory>
#include <string>

#include "platform/FileSystem.h"

namespace platform {

// A folder opened once it has passed a check, and reached through that open
// descriptor from then on: whoever renames a folder above it or puts a link in
// its place afterwards changes nothing that is read or watched through it.
class HeldFolder {
public:
    // The real folder at `path` (a link at its place is never followed), or
    // null when there is none.
    static std::shared_ptr<const HeldFolder> open(const std::string& path);

    const std::string& path() const { return m_sPath; }
    uid_t owner() const { return m_nOwner; }
    mode_t mode() const { return m_nMode; }

    // A path inside path() (or path() itself) turned into one that leads
    // through the descriptor; any other path is answered unchanged.
    std::string throughDescriptor(const std::string& inside) const;
    // Whether path() still names the held folder, with no link on the way.
    bool isStillAt() const;
    bool isSameFolder(const HeldFolder& other) const {
        return m_nDevice == other.m_nDevice && m_nInode == other.m_nInode;
    }

private:
    HeldFolder(UniqueFd fd, std::string path, const struct stat& info);

    UniqueFd m_fd;
    std::string m_sPath;
    std::string m_sThroughDescriptor;  // "/proc/self/fd/<n>"
    dev_t m_nDevice;
    ino_t m_nInode;
    uid_t m_nOwner;
    mode_t m_nMode;
};

}  // namespace platform
