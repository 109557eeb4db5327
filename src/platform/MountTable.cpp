#include "platform/MountTable.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <iterator>

#include "platform/BundleTrust.h"
#include "platform/FileSystem.h"

namespace platform {

namespace MountTable {

namespace {

// File systems of the kernel's own, and read-only images.
constexpr std::string_view kIgnoredTypes[] = {
    "proc",       "sysfs",      "devtmpfs", "devpts",   "cgroup",      "cgroup2",
    "securityfs", "debugfs",    "tracefs",  "mqueue",   "hugetlbfs",   "pstore",
    "bpf",        "autofs",     "configfs", "fusectl",  "binfmt_misc", "efivarfs",
    "nsfs",       "rpc_pipefs", "squashfs", "selinuxfs"};

// Bigger than any real table (thousands of mounts), small enough to read.
constexpr std::size_t kMaxTableSize = 4 * 1024 * 1024;

// The kernel writes space, tab, newline and backslash in a path as "\ooo".
std::optional<std::string> unescaped(std::string_view field) {
    std::string out;
    out.reserve(field.size());
    for (std::size_t i = 0; i < field.size(); ++i) {
        if (field[i] == '\0') return std::nullopt;  // the kernel never writes one
        if (field[i] != '\\') {
            out += field[i];
            continue;
        }
        if (i + 3 >= field.size()) return std::nullopt;
        int value = 0;
        for (std::size_t k = 1; k <= 3; ++k) {
            const char digit = field[i + k];
            if (digit < '0' || digit > '7') return std::nullopt;
            value = value * 8 + (digit - '0');
        }
        if (value == 0 || value > 0xFF) return std::nullopt;
        out += static_cast<char>(value);
        i += 3;
    }
    return out;
}

std::vector<std::string_view> fields(std::string_view line) {
    std::vector<std::string_view> out;
    while (!line.empty()) {
        const auto start = line.find_first_not_of(' ');
        if (start == std::string_view::npos) break;
        line.remove_prefix(start);
        const auto end = line.find(' ');
        out.push_back(line.substr(0, end));
        line = end == std::string_view::npos ? std::string_view{} : line.substr(end);
    }
    return out;
}

// A real folder (not a link, nor below one) owned by `uid`, writable by no
// one else, that no other user can swap for another.
bool isPrivateFolderOf(const std::string& path, uid_t uid) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0 || !S_ISDIR(status.st_mode) || status.st_uid != uid ||
        (status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        return false;
    }
    const auto resolved = BundleTrust::FileSystem::real().resolve(path);
    return resolved == path && BundleTrust(uid, "/").isTrustedPath(path);
}

}  // namespace

std::vector<MountPoint> parse(std::string_view text) {
    std::vector<MountPoint> out;
    while (!text.empty()) {
        const auto end = text.find('\n');
        const auto line = text.substr(0, end);
        text = end == std::string_view::npos ? std::string_view{} : text.substr(end + 1);
        // id parent major:minor root mount-point options [optional...] - type source super
        const auto parts = fields(line);
        const auto separator = std::find(parts.begin(), parts.end(), "-");
        if (separator == parts.end() || separator - parts.begin() < 6 ||
            parts.end() - separator < 2) {
            continue;
        }
        const std::string_view type = *(separator + 1);
        if (std::find(std::begin(kIgnoredTypes), std::end(kIgnoredTypes), type) !=
            std::end(kIgnoredTypes)) {
            continue;
        }
        auto path = unescaped(parts[4]);
        if (!path || path->front() != '/') continue;
        out.push_back({std::move(*path), std::string(type)});
    }
    return out;
}

std::vector<MountPoint> current() {
    const UniqueFd fd(::open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC));
    if (!fd) return {};
    const auto text = readToEnd(fd.get(), kMaxTableSize);
    return text ? parse(*text) : std::vector<MountPoint>{};
}

std::optional<std::string> trashFolderOfMount(const std::string& topDirectory, uid_t uid) {
    const std::string top = topDirectory == "/" ? "" : topDirectory;
    const std::string shared = top + "/.Trash";
    struct stat status {};
    if (::lstat(shared.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
        (status.st_mode & S_ISVTX) != 0) {
        const std::string own = shared + "/" + std::to_string(uid);
        if (isPrivateFolderOf(own, uid)) return own;
    }
    const std::string own = top + "/.Trash-" + std::to_string(uid);
    if (isPrivateFolderOf(own, uid)) return own;
    return std::nullopt;
}

}  // namespace MountTable

}  // namespace platform
