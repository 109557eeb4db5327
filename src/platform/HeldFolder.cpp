#include "platform/HeldFolder.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <climits>
#include <cstdlib>

namespace platform {

std::shared_ptr<const HeldFolder> HeldFolder::open(const std::string& path) {
    if (path.empty() || path.front() != '/') return nullptr;
    UniqueFd fd(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat info {};
    if (!fd || ::fstat(fd.get(), &info) != 0 || !S_ISDIR(info.st_mode)) return nullptr;
    return std::shared_ptr<const HeldFolder>(new HeldFolder(std::move(fd), path, info));
}

HeldFolder::HeldFolder(UniqueFd fd, std::string path, const struct stat& info)
    : m_fd(std::move(fd)),
      m_sPath(std::move(path)),
      m_sThroughDescriptor("/proc/self/fd/" + std::to_string(m_fd.get())),
      m_nDevice(info.st_dev),
      m_nInode(info.st_ino),
      m_nOwner(info.st_uid),
      m_nMode(info.st_mode) {}

std::string HeldFolder::throughDescriptor(const std::string& inside) const {
    if (inside == m_sPath) return m_sThroughDescriptor;
    if (inside.size() > m_sPath.size() && inside.compare(0, m_sPath.size(), m_sPath) == 0 &&
        inside[m_sPath.size()] == '/') {
        return m_sThroughDescriptor + inside.substr(m_sPath.size());
    }
    return inside;
}

bool HeldFolder::isStillAt() const {
    char* resolved = ::realpath(m_sPath.c_str(), nullptr);
    const bool noLink = resolved != nullptr && m_sPath == resolved;
    std::free(resolved);
    struct stat info {};
    return noLink && ::lstat(m_sPath.c_str(), &info) == 0 && info.st_dev == m_nDevice &&
           info.st_ino == m_nInode;
}

}  // namespace platform
