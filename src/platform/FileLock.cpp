#include "platform/FileLock.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>
#include <utility>

namespace platform {

FileLock::FileLock(const std::string& path) {
    UniqueFd descriptor(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!descriptor) return;
    int result;
    do {
        result = ::flock(descriptor.get(), LOCK_EX);
    } while (result != 0 && errno == EINTR);
    if (result == 0) m_descriptor = std::move(descriptor);
}

}  // namespace platform
