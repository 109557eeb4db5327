#include "platform/TrashWriter.h"

#include <fcntl.h>
#include <limits.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <string_view>

#include "platform/FileSystem.h"

namespace platform {

namespace {

constexpr std::string_view kInfoSuffix = ".trashinfo";
// "name", "name.2" … "name.1000": past that something is filling the Trash
// on purpose, and the entry stays where it is.
constexpr int kMaxNumber = 1000;
// The longest stored name: its info file's name must still be one an entry
// can have.
constexpr std::size_t kMaxStoredName = NAME_MAX - kInfoSuffix.size();
// Room kept for the number of a stored name (".1000").
constexpr std::size_t kNumberRoom = 8;

constexpr const char* kNotPlain = "it is not a plain path";
constexpr const char* kGone = "it is gone";
constexpr const char* kNoHomeTrash = "there is no Trash folder for it";
constexpr const char* kUnsafeTrash = "the Trash folder is a link or not only yours";
constexpr const char* kOtherDisk = "it lies on another disk that has no Trash of yours";
constexpr const char* kInTrash = "it is in the Trash already";
constexpr const char* kNoFreeName = "the Trash has no free name for it";
constexpr const char* kInfoNotWritten = "the Trash's record of it could not be written";

TrashWriter::Result refused(std::string why) {
    return {false, {}, std::move(why)};
}

// The folder and the name of an absolute path without empty, "." or ".."
// components: the only kind the Trash records and puts back as it was.
std::optional<std::pair<std::string, std::string>> splitPlain(const std::string& path) {
    if (path.size() < 2 || path.front() != '/' || path.find('\0') != std::string::npos) {
        return std::nullopt;
    }
    for (std::size_t start = 1; start <= path.size();) {
        const auto end = std::min(path.find('/', start), path.size());
        const std::string_view part(path.data() + start, end - start);
        if (part.empty() || part == "." || part == "..") return std::nullopt;
        start = end + 1;
    }
    const auto slash = path.rfind('/');
    return std::make_pair(slash == 0 ? std::string("/") : path.substr(0, slash),
                          path.substr(slash + 1));
}

// The path relative to the top folder of a disk, empty when it lies outside.
std::string relativeTo(const std::string& path, const std::string& top) {
    if (top == "/") return path.substr(1);
    if (path.size() > top.size() + 1 && path.compare(0, top.size(), top) == 0 &&
        path[top.size()] == '/') {
        return path.substr(top.size() + 1);
    }
    return {};
}

// The name under which the item is kept: its own, then "Notes.2.app",
// "Notes.3.app" (the number before the first extension, as file managers
// do). A name too long to leave room for the info file's suffix is cut at
// the start of a character; the info keeps the whole one.
std::string storedName(const std::string& name, int number) {
    std::string base = name;
    if (base.size() > kMaxStoredName - kNumberRoom) {
        std::size_t cut = kMaxStoredName - kNumberRoom;
        while (cut > 0 && (static_cast<unsigned char>(base[cut]) & 0xC0) == 0x80) --cut;
        base.resize(cut > 0 ? cut : kMaxStoredName - kNumberRoom);
    }
    if (number == 1) return base;
    const auto dot = base.find('.', 1);
    const std::string suffix = "." + std::to_string(number);
    if (dot == std::string::npos) return base + suffix;
    return base.substr(0, dot) + suffix + base.substr(dot);
}

std::string localTimeNow() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    char text[32] = "";
    if (::localtime_r(&now, &local) != nullptr) {
        std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &local);
    }
    return text;
}

// A Trash folder's two folders, open, after they were found to be real
// folders of the user's own that no one else may write.
struct OpenTrash {
    std::string directory;
    UniqueFd files;
    UniqueFd info;
    dev_t device = 0;
    ino_t filesInode = 0;
};

bool isOwnFolder(int fd, uid_t uid, struct stat* status) {
    return ::fstat(fd, status) == 0 && S_ISDIR(status->st_mode) && status->st_uid == uid &&
           (status->st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

// Opens `name` in the folder `at` (made 0700 when missing and `make`) without
// following a link; an unsafe folder is refused, not repaired.
UniqueFd openOwnFolder(int at, const char* name, uid_t uid, bool make, struct stat* status,
                       std::string* why) {
    if (make && ::mkdirat(at, name, 0700) != 0 && errno != EEXIST) {
        *why = kNoHomeTrash;
        return {};
    }
    UniqueFd folder(::openat(at, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!folder) {
        *why = errno == ELOOP || errno == ENOTDIR ? kUnsafeTrash : kNoHomeTrash;
        return {};
    }
    if (!isOwnFolder(folder.get(), uid, status)) {
        *why = kUnsafeTrash;
        return {};
    }
    return folder;
}

// A disk's Trash folder itself is never made here: only one that the agent's
// checks found is used.
std::optional<OpenTrash> openTrash(const std::string& directory, bool make, uid_t uid,
                                   std::string* why) {
    const auto split = splitPlain(directory);
    if (!split) {
        *why = kNoHomeTrash;
        return std::nullopt;
    }
    const UniqueFd parent(::open(split->first.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!parent) {
        *why = kNoHomeTrash;
        return std::nullopt;
    }
    struct stat status {};
    const UniqueFd trash =
        openOwnFolder(parent.get(), split->second.c_str(), uid, make, &status, why);
    if (!trash) return std::nullopt;
    OpenTrash open{directory, {}, {}, 0, 0};
    open.files = openOwnFolder(trash.get(), "files", uid, true, &status, why);
    if (!open.files) return std::nullopt;
    open.device = status.st_dev;
    open.filesInode = status.st_ino;
    open.info = openOwnFolder(trash.get(), "info", uid, true, &status, why);
    if (!open.info) return std::nullopt;
    return open;
}

TrashWriter::Result moveInto(const OpenTrash& trash, int parent, const std::string& name,
                             const std::string& recordedPath) {
    const std::string record = "[Trash Info]\nPath=" + TrashWriter::percentEncoded(recordedPath) +
                               "\nDeletionDate=" + localTimeNow() + "\n";
    for (int number = 1; number <= kMaxNumber; ++number) {
        const std::string stored = storedName(name, number);
        const std::string infoName = stored + std::string(kInfoSuffix);
        // The info comes first and reserves the name: whoever made it first
        // owns it, and an item never lies in the Trash without its record.
        UniqueFd file(::openat(trash.info.get(), infoName.c_str(),
                               O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
        if (!file && errno == EEXIST) continue;
        if (!file) return refused(kInfoNotWritten);
        bool written =
            writeAll(file.get(), record.data(), record.size()) && ::fsync(file.get()) == 0;
        written = file.close() && written;
        if (written && ::renameat2(parent, name.c_str(), trash.files.get(), stored.c_str(),
                                   RENAME_NOREPLACE) == 0) {
            return {true, trash.directory + "/files/" + stored, {}};
        }
        const int error = errno;
        // Only the record made just now goes: it is ours and describes nothing.
        ::unlinkat(trash.info.get(), infoName.c_str(), 0);
        if (!written) return refused(kInfoNotWritten);
        // An item that came without its record holds the name.
        if (error == EEXIST) continue;
        return refused(std::string("it could not be moved: ") + std::strerror(error));
    }
    return refused(kNoFreeName);
}

}  // namespace

TrashWriter::TrashWriter(std::optional<std::string> homeTrash, std::vector<DiskTrash> disks,
                         uid_t uid)
    : m_pHomeTrash(std::move(homeTrash)), m_arrDisks(std::move(disks)), m_nUid(uid) {
    // The disk nearest to an entry is the one it lies on.
    std::stable_sort(m_arrDisks.begin(), m_arrDisks.end(), [](const auto& a, const auto& b) {
        return a.topDirectory.size() > b.topDirectory.size();
    });
}

TrashWriter::Result TrashWriter::moveToTrash(const std::string& path) const {
    const auto split = splitPlain(path);
    if (!split) return refused(kNotPlain);
    const auto& [folder, name] = *split;
    const UniqueFd parent(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    struct stat entry {};
    struct stat parentStatus {};
    if (!parent || ::fstatat(parent.get(), name.c_str(), &entry, AT_SYMLINK_NOFOLLOW) != 0 ||
        ::fstat(parent.get(), &parentStatus) != 0) {
        return refused(kGone);
    }
    const auto isInside = [&](const OpenTrash& trash) {
        return parentStatus.st_dev == trash.device && parentStatus.st_ino == trash.filesInode;
    };

    std::string homeWhy = kNoHomeTrash;
    if (m_pHomeTrash) {
        // Made as a file manager makes it: the data folder too, when missing.
        const auto above = splitPlain(*m_pHomeTrash);
        if (above && makePrivateFolders(above->first)) {
            homeWhy.clear();
            const auto home = openTrash(*m_pHomeTrash, true, m_nUid, &homeWhy);
            if (home && home->device == entry.st_dev) {
                if (isInside(*home)) return refused(kInTrash);
                return moveInto(*home, parent.get(), name, path);
            }
        }
    }
    for (const auto& disk : m_arrDisks) {
        const std::string relative = relativeTo(path, disk.topDirectory);
        struct stat top {};
        if (relative.empty() || ::stat(disk.topDirectory.c_str(), &top) != 0 ||
            top.st_dev != entry.st_dev) {
            continue;
        }
        // The entry's own disk: its Trash, unless that turned unsafe since
        // the agent looked.
        std::string why;
        const auto trash = openTrash(disk.trashDirectory, false, m_nUid, &why);
        if (!trash) return refused(why);
        if (trash->device != entry.st_dev) continue;
        if (isInside(*trash)) return refused(kInTrash);
        return moveInto(*trash, parent.get(), name, relative);
    }
    return refused(homeWhy.empty() ? kOtherDisk : homeWhy);
}

std::string TrashWriter::percentEncoded(const std::string& path) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    std::string out;
    out.reserve(path.size());
    for (const char c : path) {
        const auto byte = static_cast<unsigned char>(c);
        if ((byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') ||
            (byte >= '0' && byte <= '9') || byte == '-' || byte == '.' || byte == '_' ||
            byte == '~' || byte == '/') {
            out += c;
        } else {
            out += '%';
            out += kHex[byte >> 4];
            out += kHex[byte & 0x0F];
        }
    }
    return out;
}

}  // namespace platform
