#include "environment/TrashFolders.h"

#include <sys/stat.h>

#include <algorithm>
#include <string_view>

#include "environment/PathsGenerator.h"
#include "environment/StringUtils.h"
#include "platform/PathUtils.h"
#include "platform/TrashInfo.h"

namespace TrashFolders {

namespace {

bool isNumber(std::string_view text) {
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// Whether the components, read from `at`, are ".Trash-N/files/x" or
// ".Trash/N/files/x": the desktop Trash layout of any user on any disk.
bool isTrashLayoutAt(const std::vector<std::string_view>& parts, std::size_t at) {
    const std::string_view first = parts[at];
    if (first.starts_with(".Trash-") && isNumber(first.substr(7))) {
        return at + 2 < parts.size() && parts[at + 1] == "files";
    }
    return first == ".Trash" && at + 3 < parts.size() && isNumber(parts[at + 1]) &&
           parts[at + 2] == "files";
}

}  // namespace

std::vector<TrashFolder> ofHome(const PathsGenerator& paths) {
    std::vector<TrashFolder> folders = {
        {TrashFolder::Kind::Home, paths.buildTrashDirectory(), {}, {}, {}}};
    if (const auto desktop = paths.buildHomeTrashDirectory()) {
        folders.push_back({TrashFolder::Kind::Desktop, *desktop + "/files", *desktop, {}, {}});
    }
    return folders;
}

std::vector<TrashFolder> all(const PathsGenerator& paths,
                             const std::vector<platform::MountPoint>& mounts, uid_t uid) {
    auto folders = ofHome(paths);
    for (const auto& mount : mounts) {
        const auto trash = platform::MountTable::trashFolderOfMount(mount.path, uid);
        if (!trash) continue;
        // Known by what it is from here on; what was opened must be what was checked.
        auto checked = platform::CheckedFolder::open(*trash);
        if (!checked || !checked->isStillAt() || checked->owner() != uid ||
            (checked->mode() & (S_IWGRP | S_IWOTH)) != 0) {
            continue;
        }
        // Trashing programs make "files" with the Trash; until then nothing is there.
        struct stat status {};
        const bool hasFiles = checked->readThrough(*trash + "/files", [&](const std::string& at) {
            if (::lstat(at.c_str(), &status) != 0) status = {};
        });
        if (!hasFiles || !S_ISDIR(status.st_mode) || status.st_uid != uid) continue;
        const TrashFolder folder{TrashFolder::Kind::Volume, *trash + "/files", *trash, mount.path,
                                 std::move(checked)};
        // A disk mounted twice shows one Trash under two names: both are watched.
        if (std::find(folders.begin(), folders.end(), folder) == folders.end()) {
            folders.push_back(folder);
        }
    }
    return folders;
}

const TrashFolder* folderHolding(const std::vector<TrashFolder>& folders, const std::string& path) {
    for (const auto& folder : folders) {
        if (StringUtils::isInFolder(path, folder.path)) return &folder;
    }
    return nullptr;
}

std::string nameBeforeTrashing(const std::vector<TrashFolder>& folders, const std::string& path) {
    const std::string stored = platform::PathUtils::lastPathComponent(path);
    const TrashFolder* folder = folderHolding(folders, path);
    if (!folder || !folder->hasTrashInfo() ||
        platform::PathUtils::stringByDeletingLastPathComponent(path) != folder->path) {
        return stored;
    }
    std::optional<platform::TrashInfo> info;
    if (folder->checked) {
        folder->checked->readThrough(folder->trashDirectory, [&](const std::string& trash) {
            info = platform::TrashInfo::readForItem(trash, stored);
        });
    } else {
        info = platform::TrashInfo::readForItem(folder->trashDirectory, stored);
    }
    return info ? info->originalName().value_or(stored) : stored;
}

bool isInAnyTrash(const PathsGenerator& paths, const std::string& path) {
    if (folderHolding(ofHome(paths), path)) return true;
    std::vector<std::string_view> parts;
    for (std::string_view rest = path; !rest.empty();) {
        const auto slash = rest.find('/');
        if (slash != 0) parts.push_back(rest.substr(0, slash));
        rest = slash == std::string_view::npos ? std::string_view{} : rest.substr(slash + 1);
    }
    for (std::size_t at = 0; at < parts.size(); ++at) {
        if (isTrashLayoutAt(parts, at)) return true;
    }
    return false;
}

}  // namespace TrashFolders
