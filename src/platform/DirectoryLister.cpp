#include "platform/DirectoryLister.h"

#include <dirent.h>

#include <cerrno>

#include "platform/FileSystem.h"

namespace platform {

namespace {

DirectoryLister::EntryType typeOf(const dirent& entry) {
    switch (entry.d_type) {
        case DT_UNKNOWN:
            return DirectoryLister::EntryType::Unknown;
        case DT_DIR:
            return DirectoryLister::EntryType::Folder;
        case DT_LNK:
            return DirectoryLister::EntryType::SymbolicLink;
        default:
            return DirectoryLister::EntryType::Other;
    }
}

}  // namespace

DirectoryLister::Status DirectoryLister::forEachEntry(
    const std::string& path, const std::function<bool(std::string_view name)>& visit) {
    return forEachTypedEntry(path, [&](std::string_view name, EntryType) { return visit(name); });
}

DirectoryLister::Status DirectoryLister::forEachTypedEntry(
    const std::string& path,
    const std::function<bool(std::string_view name, EntryType type)>& visit) {
    if (path.empty()) return Status::Failed;
    const DirectoryStream folder(::opendir(path.c_str()));
    if (!folder) return Status::Failed;
    for (;;) {
        // readdir answers null both at the end and on an error; only errno
        // tells them apart.
        errno = 0;
        const dirent* entry = ::readdir(folder.get());
        if (entry == nullptr) return errno == 0 ? Status::Complete : Status::Failed;
        const std::string_view name = entry->d_name;
        if (name == "." || name == "..") continue;
        if (!visit(name, typeOf(*entry))) return Status::Stopped;
    }
}

DirectoryLister::Listing DirectoryLister::contentsOfDirectoryAtPath(const std::string& path) {
    Listing listing;
    listing.status = forEachEntry(path, [&](std::string_view name) {
        listing.names.emplace_back(name);
        return true;
    });
    return listing;
}

}  // namespace platform
