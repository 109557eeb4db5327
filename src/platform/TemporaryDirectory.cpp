#include "platform/TemporaryDirectory.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

namespace platform {

namespace {

std::string withoutTrailingSlashes(std::string path) {
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

// A real folder (a link is never followed), owned by uid, and open to nobody
// else: anything looser could have been made or be changed by another user.
bool isPrivateFolder(const std::string& path, uid_t uid) {
    struct stat info {};
    if (::lstat(path.c_str(), &info) != 0) return false;
    return S_ISDIR(info.st_mode) && info.st_uid == uid && (info.st_mode & 07777) == 0700;
}

// A folder we have just made: the umask or a set-group-id parent may have
// changed its mode, so set it through a descriptor that is known to be that
// very folder, then check it as any other.
bool settleFreshFolder(const std::string& path, uid_t uid) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) return false;
    struct stat info {};
    bool ok = ::fstat(fd, &info) == 0 && S_ISDIR(info.st_mode) && info.st_uid == uid;
    if (ok && (info.st_mode & 07777) != 0700) ok = ::fchmod(fd, 0700) == 0;
    ::close(fd);
    if (ok && isPrivateFolder(path, uid)) return true;
    ::rmdir(path.c_str());
    return false;
}

}  // namespace

std::string privateTemporaryDirectory(const std::optional<std::string>& runtimeDir,
                                      const std::string& baseFolder, unsigned int uid) {
    if (runtimeDir && !runtimeDir->empty() && runtimeDir->front() == '/') {
        const std::string folder = withoutTrailingSlashes(*runtimeDir);
        if (isPrivateFolder(folder, uid)) return folder == "/" ? folder : folder + "/";
    }
    if (baseFolder.empty()) return {};

    std::string base = withoutTrailingSlashes(baseFolder);
    if (base != "/") base += "/";
    const std::string own = base + "sweepwell-" + std::to_string(uid);
    if (::mkdir(own.c_str(), 0700) == 0) {
        if (settleFreshFolder(own, uid)) return own + "/";
    } else if (errno == EEXIST && isPrivateFolder(own, uid)) {
        return own + "/";
    }

    // The usual name is taken by something we must not touch (someone else's
    // folder, a link, a file, a folder with a looser mode): never repair it,
    // make a fresh folder with an unguessable name instead.
    std::string unique = own + "-XXXXXX";
    if (::mkdtemp(unique.data()) != nullptr && settleFreshFolder(unique, uid)) return unique + "/";
    return {};
}

std::string temporaryDirectory() {
    // Worked out once: later calls, from any thread, see the same folder even
    // when it is a fresh unique one.
    static const std::string answer = [] {
        const char* runtimeDir = std::getenv("XDG_RUNTIME_DIR");
        return privateTemporaryDirectory(
            runtimeDir != nullptr ? std::optional<std::string>(runtimeDir) : std::nullopt, "/tmp",
            ::getuid());
    }();
    return answer;
}

}  // namespace platform
