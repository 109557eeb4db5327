#include "platform/FileLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>

namespace platform {

FileLock::FileLock(const std::string& path) {
    const int descriptor = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (descriptor < 0) return;
    int result;
    do {
        result = ::flock(descriptor, LOCK_EX);
    } while (result != 0 && errno == EINTR);
    if (result != 0) {
        ::close(descriptor);
        return;
    }
    m_nDescriptor = descriptor;
}

FileLock::~FileLock() {
    if (m_nDescriptor >= 0) ::close(m_nDescriptor);  // closing releases the lock
}

}  // namespace platform
