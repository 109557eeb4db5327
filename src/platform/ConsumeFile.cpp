#include "platform/ConsumeFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "platform/FileSystem.h"

namespace platform {

namespace {

bool sameEntry(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

// Reads the regular file `name` of the folder. `entry` holds what the name
// referred to when it was examined; it becomes what was actually opened, so
// that the removal later checks against that.
std::optional<std::string> readRegularFile(int folder, const std::string& name, std::size_t limit,
                                           struct stat& entry, std::string& refusal) {
    // O_NONBLOCK: if a FIFO was swapped in since the name was examined, the
    // open must not wait for a writer. O_NOFOLLOW: nor may a link be followed.
    const UniqueFd fd(
        ::openat(folder, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat opened {};
    if (!fd || ::fstat(fd.get(), &opened) != 0) {
        refusal = std::string("cannot be opened: ") + std::strerror(errno);
        return std::nullopt;
    }
    entry = opened;
    if (!S_ISREG(opened.st_mode)) {
        refusal = "was swapped for something else while it was read";
        return std::nullopt;
    }
    if (static_cast<std::uintmax_t>(opened.st_size) > limit) {
        refusal = "is larger than " + std::to_string(limit) + " bytes";
        return std::nullopt;
    }
    auto contents = readToEnd(fd.get(), limit, static_cast<std::size_t>(opened.st_size));
    if (!contents)
        refusal = "could not be read to its end within " + std::to_string(limit) + " bytes";
    return contents;
}

}  // namespace

std::optional<std::string> consumeFile(const std::string& path, std::size_t limit,
                                       const std::function<void()>& beforeRemoving,
                                       std::string* refusal) {
    std::string why;
    const auto answer = [&](std::optional<std::string> contents) {
        if (!contents && refusal) *refusal = why;
        return contents;
    };
    std::string_view trimmed = path;
    while (trimmed.size() > 1 && trimmed.back() == '/') trimmed.remove_suffix(1);
    const std::size_t slash = trimmed.rfind('/');
    const std::string folderPath = slash == std::string_view::npos ? "."
                                   : slash == 0                    ? "/"
                                                : std::string(trimmed.substr(0, slash));
    const std::string name(slash == std::string_view::npos ? trimmed : trimmed.substr(slash + 1));
    if (name.empty() || name == "." || name == ".." || name == "/") {
        why = "names no file";
        return answer(std::nullopt);
    }

    // Everything below goes through the folder's descriptor, so the entry
    // examined, the one read and the one removed are all in the same folder.
    const UniqueFd folder(::open(folderPath.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    struct stat entry {};
    if (!folder || ::fstatat(folder.get(), name.c_str(), &entry, AT_SYMLINK_NOFOLLOW) != 0) {
        why = std::string("is not there: ") + std::strerror(errno);
        return answer(std::nullopt);
    }
    std::optional<std::string> contents;
    if (S_ISREG(entry.st_mode)) {
        contents = readRegularFile(folder.get(), name, limit, entry, why);
    } else {
        why = S_ISLNK(entry.st_mode)   ? "is a link, which is never followed"
              : S_ISDIR(entry.st_mode) ? "is a folder"
                                       : "is not a regular file";
    }

    if (beforeRemoving) beforeRemoving();
    struct stat now {};
    // unlinkat without AT_REMOVEDIR never removes a folder.
    if (!S_ISDIR(entry.st_mode) &&
        ::fstatat(folder.get(), name.c_str(), &now, AT_SYMLINK_NOFOLLOW) == 0 &&
        sameEntry(now, entry)) {
        ::unlinkat(folder.get(), name.c_str(), 0);
    }
    return answer(std::move(contents));
}

}  // namespace platform
