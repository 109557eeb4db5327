#include "platform/FileSystem.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>

#include "platform/PathUtils.h"

namespace platform {

void UniqueFd::reset(int fd) noexcept {
    const int old = std::exchange(m_nFD, fd);
    // Linux releases the descriptor even when close fails, so it is never
    // retried: the number may already belong to another open file.
    if (old >= 0) ::close(old);
}

bool UniqueFd::close() noexcept {
    const int old = release();
    return old < 0 || ::close(old) == 0;
}

std::optional<std::string> readWholeFile(const std::string& path, std::size_t limit,
                                         Links links) {
    const int noFollow = links == Links::Refuse ? O_NOFOLLOW : 0;
    const UniqueFd file(
        ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK | noFollow));
    if (!file) return std::nullopt;
    struct stat info {};
    if (::fstat(file.get(), &info) != 0 || !S_ISREG(info.st_mode) || info.st_size < 0 ||
        static_cast<std::uint64_t>(info.st_size) > limit) {
        return std::nullopt;
    }
    return readToEnd(file.get(), limit, static_cast<std::size_t>(info.st_size));
}

std::optional<std::string> readToEnd(int fd, std::size_t limit, std::size_t expected) {
    std::string contents;
    contents.reserve(std::min(expected, limit));
    char chunk[65536];
    for (;;) {
        const ssize_t got = ::read(fd, chunk, sizeof chunk);
        if (got < 0 && errno == EINTR) continue;
        if (got == 0) return contents;
        // The file may grow while it is read.
        if (got < 0 || static_cast<std::size_t>(got) > limit - contents.size()) return std::nullopt;
        contents.append(chunk, static_cast<std::size_t>(got));
    }
}

bool writeAll(int fd, const void* bytes, std::size_t size) {
    const auto* next = static_cast<const char*>(bytes);
    while (size > 0) {
        const ssize_t written = ::write(fd, next, size);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        next += written;
        size -= static_cast<std::size_t>(written);
    }
    return true;
}

bool writeFileAtomically(const std::string& path, std::string_view contents, unsigned permissions) {
    if (path.empty() || path.back() == '/') return false;
    const std::size_t slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "./" : path.substr(0, slash + 1);
    const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    std::string temporary = folder + "." + name + ".XXXXXX";
    UniqueFd file(::mkostemp(temporary.data(), O_CLOEXEC));
    if (!file) return false;
    bool ok = ::fchmod(file.get(), static_cast<mode_t>(permissions & 07777)) == 0 &&
              writeAll(file.get(), contents.data(), contents.size()) && ::fsync(file.get()) == 0;
    ok = file.close() && ok;
    if (ok) ok = ::rename(temporary.c_str(), path.c_str()) == 0;
    if (!ok) {
        // Only the temporary file made above is removed, never the target.
        ::unlink(temporary.c_str());
        return false;
    }
    // Make the rename itself durable; failing that is not worth reporting.
    const UniqueFd folderFd(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folderFd) (void)::fsync(folderFd.get());
    return true;
}

bool leadsToFolder(const std::string& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool existsWithoutFollowingLink(const std::string& path) {
    struct stat info {};
    return !path.empty() && ::lstat(path.c_str(), &info) == 0;
}

std::optional<std::string> firstFreeName(
    const std::string& folder, const std::function<std::optional<std::string>()>& nextName) {
    for (;;) {
        std::optional<std::string> name = nextName();
        if (!name) return std::nullopt;
        if (!existsWithoutFollowingLink(PathUtils::stringByAppendingPathComponent(folder, *name))) {
            return name;
        }
    }
}

bool makePrivateFolders(const std::string& path) {
    for (std::size_t slash = path.find('/', 1);; slash = path.find('/', slash + 1)) {
        const std::string prefix = path.substr(0, slash);
        if (!prefix.empty()) ::mkdir(prefix.c_str(), 0700);
        if (slash == std::string::npos) break;
    }
    struct stat info {};
    return !path.empty() && ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

}  // namespace platform
