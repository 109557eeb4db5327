#include "platform/DirectoryReader.h"

#include <sys/stat.h>

#include "platform/FileResources.h"

namespace platform {

namespace {

class DiskReader final : public DirectoryReader {
public:
    DirectoryLister::Listing list(const std::string& path) const override {
        return DirectoryLister::contentsOfDirectoryAtPath(path);
    }

    std::optional<Entry> entryAt(const std::string& path) const override {
        std::string own = path;
        while (own.size() > 1 && own.back() == '/') own.pop_back();
        struct stat info {};
        if (::lstat(own.c_str(), &info) != 0) return std::nullopt;
        Entry entry;
        entry.isSymbolicLink = S_ISLNK(info.st_mode);
        entry.isFolder = S_ISDIR(info.st_mode);
        entry.leadsToFolder = entry.isFolder;
        if (entry.isSymbolicLink) {
            struct stat target {};
            entry.leadsToFolder = ::stat(path.c_str(), &target) == 0 && S_ISDIR(target.st_mode);
        }
        // Linux cannot give a folder a second name.
        entry.linkCount = entry.isFolder ? 1 : info.st_nlink;
        entry.isPackage = entry.isFolder && isFilePackageAtPath(path);
        return entry;
    }

    DirectoryLister::Status forEachEntry(const std::string& path,
                                         const Visitor& visit) const override {
        return DirectoryLister::forEachTypedEntry(path, visit);
    }
};

class CheckedFolderReader final : public DirectoryReader {
public:
    explicit CheckedFolderReader(std::shared_ptr<const CheckedFolder> folder)
        : m_pFolder(std::move(folder)) {}

    DirectoryLister::Listing list(const std::string& path) const override {
        DirectoryLister::Listing listing;  // failed until read
        m_pFolder->readThrough(path, [&](const std::string& through) {
            listing = DirectoryReader::disk()->list(through);
        });
        return listing;
    }
    std::optional<Entry> entryAt(const std::string& path) const override {
        std::optional<Entry> entry;
        m_pFolder->readThrough(path, [&](const std::string& through) {
            entry = DirectoryReader::disk()->entryAt(through);
        });
        return entry;
    }

private:
    std::shared_ptr<const CheckedFolder> m_pFolder;
};

}  // namespace

DirectoryLister::Status DirectoryReader::forEachEntry(const std::string& path,
                                                      const Visitor& visit) const {
    const auto listing = list(path);
    for (const std::string& name : listing.names) {
        if (!visit(name, EntryType::Unknown)) return DirectoryLister::Status::Stopped;
    }
    return listing.status;
}

const std::shared_ptr<const DirectoryReader>& DirectoryReader::disk() {
    static const std::shared_ptr<const DirectoryReader> reader = std::make_shared<DiskReader>();
    return reader;
}

std::shared_ptr<const DirectoryReader> DirectoryReader::through(
    std::shared_ptr<const CheckedFolder> folder) {
    if (!folder) return disk();
    return std::make_shared<CheckedFolderReader>(std::move(folder));
}

}  // namespace platform
