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
};

class HeldReader final : public DirectoryReader {
public:
    explicit HeldReader(std::shared_ptr<const HeldFolder> held) : m_pHeld(std::move(held)) {}

    DirectoryLister::Listing list(const std::string& path) const override {
        return DirectoryReader::disk()->list(pathOnDisk(path));
    }
    std::optional<Entry> entryAt(const std::string& path) const override {
        // The descriptor's own name is a link of the kernel's: the folder it
        // leads to is what is described.
        if (path == m_pHeld->path()) return DirectoryReader::disk()->entryAt(pathOnDisk(path) + "/.");
        return DirectoryReader::disk()->entryAt(pathOnDisk(path));
    }
    std::string pathOnDisk(const std::string& path) const override {
        return m_pHeld->throughDescriptor(path);
    }

private:
    std::shared_ptr<const HeldFolder> m_pHeld;
};

}  // namespace

const std::shared_ptr<const DirectoryReader>& DirectoryReader::disk() {
    static const std::shared_ptr<const DirectoryReader> reader = std::make_shared<DiskReader>();
    return reader;
}

std::shared_ptr<const DirectoryReader> DirectoryReader::through(
    std::shared_ptr<const HeldFolder> held) {
    if (!held) return disk();
    return std::make_shared<HeldReader>(std::move(held));
}

}  // namespace platform
