#include "platform/FileDates.h"

#include <fcntl.h>
#include <sys/stat.h>

namespace platform {

namespace {

std::optional<FileDate> dateFor(const std::string& path, unsigned int field) {
    if (path.empty()) return std::nullopt;
    struct statx info {};
    if (::statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT, field, &info) != 0 ||
        (info.stx_mask & field) == 0) {
        return std::nullopt;
    }
    const statx_timestamp& stamp = field == STATX_BTIME ? info.stx_btime : info.stx_atime;
    const auto sinceEpoch =
        std::chrono::seconds(stamp.tv_sec) + std::chrono::nanoseconds(stamp.tv_nsec);
    return FileDate(std::chrono::duration_cast<FileDate::duration>(sinceEpoch));
}

}  // namespace

std::optional<FileDate> creationDateForPath(const std::string& path) {
    return dateFor(path, STATX_BTIME);
}

std::optional<FileDate> lastAccessDateForPath(const std::string& path) {
    return dateFor(path, STATX_ATIME);
}

}  // namespace platform
