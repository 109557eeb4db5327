#include "platform/TemporaryDirectory.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "platform/FileSystem.h"
#include "platform/PasswordDatabase.h"

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

// The opened entry is a folder owned by uid.
bool isOwnFolder(int fd, uid_t uid) {
    struct stat info {};
    return ::fstat(fd, &info) == 0 && S_ISDIR(info.st_mode) && info.st_uid == uid;
}

// Narrows the opened folder to mode 0700 unless it already is.
bool ensurePrivateMode(int fd) {
    struct stat info {};
    if (::fstat(fd, &info) != 0) return false;
    return (info.st_mode & 07777) == 0700 || ::fchmod(fd, 0700) == 0;
}

// A folder we have just made: the umask or a set-group-id parent may have
// changed its mode, so set it through a descriptor that is known to be that
// very folder, then check it as any other.
bool settleFreshFolder(const std::string& path, uid_t uid) {
    const UniqueFd fd(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!fd) return false;
    if (isOwnFolder(fd.get(), uid) && ensurePrivateMode(fd.get()) && isPrivateFolder(path, uid)) {
        return true;
    }
    ::rmdir(path.c_str());
    return false;
}

// A folder opened by name inside the folder `parent`, never through a link,
// made with mode 0700 when missing. Empty when it cannot be had.
UniqueFd openOrMakeFolderAt(int parent, const char* name) {
    if (::mkdirat(parent, name, 0700) != 0 && errno != EEXIST) return {};
    return UniqueFd(::openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

// Owned by uid and writable by nobody else.
bool isClosedFolder(int fd, uid_t uid) {
    struct stat info {};
    return ::fstat(fd, &info) == 0 && S_ISDIR(info.st_mode) && info.st_uid == uid &&
           (info.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

// "<home>/.cache/sweepwell-helper/", made as needed. Each step goes through
// the descriptor of the folder above, so no link put in the way is followed
// below the home folder itself, and each folder must be the user's own.
std::string folderInHome(const std::string& home, uid_t uid) {
    if (home.empty() || home.front() != '/') return {};
    const UniqueFd homeFd(::open(home.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!homeFd || !isClosedFolder(homeFd.get(), uid)) return {};
    const UniqueFd cacheFd = openOrMakeFolderAt(homeFd.get(), ".cache");
    if (!cacheFd || !isClosedFolder(cacheFd.get(), uid)) return {};
    const UniqueFd ownFd = openOrMakeFolderAt(cacheFd.get(), "sweepwell-helper");
    if (!ownFd || !isOwnFolder(ownFd.get(), uid) || !ensurePrivateMode(ownFd.get())) return {};
    return withoutTrailingSlashes(home) + "/.cache/sweepwell-helper/";
}

}  // namespace

std::string privateTemporaryDirectory(const std::optional<std::string>& runtimeDir,
                                      const std::string& homeFolder, const std::string& baseFolder,
                                      unsigned int uid) {
    if (runtimeDir && !runtimeDir->empty() && runtimeDir->front() == '/') {
        const std::string folder = withoutTrailingSlashes(*runtimeDir);
        if (isPrivateFolder(folder, uid)) return folder == "/" ? folder : folder + "/";
    }
    if (std::string inHome = folderInHome(homeFolder, uid); !inHome.empty()) return inHome;
    if (baseFolder.empty()) return {};

    std::string base = withoutTrailingSlashes(baseFolder);
    if (base != "/") base += "/";
    const std::string own = base + "sweepwell-" + std::to_string(uid);
    if (::mkdir(own.c_str(), 0700) == 0) {
        if (settleFreshFolder(own, uid)) return own + "/";
    } else if (errno == EEXIST && isPrivateFolder(own, uid)) {
        return own + "/";
    }
    // The name is taken by something we must not touch (someone else's
    // folder, a link, a file, a looser folder): never repair it.
    return {};
}

std::string temporaryDirectory() {
    // Worked out once: later calls, from any thread, see the same folder.
    static const std::string answer = [] {
        const char* runtimeDir = std::getenv("XDG_RUNTIME_DIR");
        // The home the rest of the agent uses: $HOME, else the database's.
        const char* homeVariable = std::getenv("HOME");
        const std::string home = homeVariable != nullptr && *homeVariable != '\0'
                                     ? std::string(homeVariable)
                                     : homeFromPasswordDatabase();
        return privateTemporaryDirectory(
            runtimeDir != nullptr ? std::optional<std::string>(runtimeDir) : std::nullopt,
            isUsableHomeDirectory(home) ? home : std::string(), "/tmp", ::getuid());
    }();
    return answer;
}

}  // namespace platform
