#include "platform/CheckedFolder.h"

#include <fcntl.h>

#include <climits>
#include <cstdlib>

#include "platform/FileSystem.h"

namespace platform {

namespace {

UniqueFd openFolder(const std::string& path) {
    return UniqueFd(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

}  // namespace

std::shared_ptr<const CheckedFolder> CheckedFolder::open(const std::string& path) {
    if (path.empty() || path.front() != '/') return nullptr;
    const UniqueFd fd = openFolder(path);
    struct stat info {};
    if (!fd || ::fstat(fd.get(), &info) != 0 || !S_ISDIR(info.st_mode)) return nullptr;
    return std::shared_ptr<const CheckedFolder>(new CheckedFolder(path, info));
}

CheckedFolder::CheckedFolder(std::string path, const struct stat& info)
    : m_sPath(std::move(path)),
      m_nDevice(info.st_dev),
      m_nInode(info.st_ino),
      m_nOwner(info.st_uid),
      m_nMode(info.st_mode) {}

bool CheckedFolder::readThrough(const std::string& inside,
                                const std::function<void(const std::string& path)>& read) const {
    std::string rest;
    if (inside != m_sPath) {
        if (inside.size() <= m_sPath.size() || inside.compare(0, m_sPath.size(), m_sPath) != 0 ||
            inside[m_sPath.size()] != '/') {
            return false;
        }
        rest = inside.substr(m_sPath.size());
    }
    const UniqueFd fd = openFolder(m_sPath);
    struct stat info {};
    if (!fd || ::fstat(fd.get(), &info) != 0 || info.st_dev != m_nDevice ||
        info.st_ino != m_nInode) {
        return false;
    }
    // The descriptor's name in /proc leads to the folder it was opened on.
    read("/proc/self/fd/" + std::to_string(fd.get()) + (rest.empty() ? "/." : rest));
    return true;
}

bool CheckedFolder::isStillAt() const {
    char* resolved = ::realpath(m_sPath.c_str(), nullptr);
    const bool noLink = resolved != nullptr && m_sPath == resolved;
    std::free(resolved);
    struct stat info {};
    return noLink && ::lstat(m_sPath.c_str(), &info) == 0 && info.st_dev == m_nDevice &&
           info.st_ino == m_nInode;
}

}  // namespace platform
