#pragma once

#include <map>
#include <string>

#include "platform/DirectoryReader.h"

namespace testsupport {

// A file tree held in memory, for code that reads folders through a
// DirectoryReader. Paths are absolute; a folder lists its entries in name order.
class FakeDirectoryReader final : public platform::DirectoryReader {
public:
    enum class Kind { File, Folder, Package, LinkToFolder, DanglingLink };

    // Adds the entry, and each missing folder above it.
    void add(const std::string& path, Kind kind = Kind::File) {
        for (auto slash = path.find('/', 1); slash != std::string::npos;
             slash = path.find('/', slash + 1)) {
            m_entries.try_emplace(path.substr(0, slash), Kind::Folder);
        }
        m_entries[path] = kind;
    }
    // Removes the entry and everything below it.
    void remove(const std::string& path) {
        std::erase_if(m_entries, [&](const auto& entry) {
            return entry.first == path || entry.first.starts_with(path + "/");
        });
    }
    // Reading the folder fails after `entriesBefore` names; nullopt heals it.
    void failListing(const std::string& folder, std::optional<std::size_t> entriesBefore) {
        m_failures[folder] = entriesBefore;
    }

    platform::DirectoryLister::Listing list(const std::string& path) const override {
        platform::DirectoryLister::Listing listing;
        const auto folder = entryAt(path);
        if (!folder || !folder->leadsToFolder) return listing;
        const auto failure = m_failures.find(path);
        const std::string prefix = path + "/";
        for (auto it = m_entries.upper_bound(prefix); it != m_entries.end(); ++it) {
            if (!it->first.starts_with(prefix)) break;
            if (it->first.find('/', prefix.size()) != std::string::npos) continue;
            if (failure != m_failures.end() && failure->second == listing.names.size()) {
                return listing;
            }
            listing.names.push_back(it->first.substr(prefix.size()));
        }
        listing.status = platform::DirectoryLister::Status::Complete;
        return listing;
    }

    std::optional<Entry> entryAt(const std::string& path) const override {
        const auto found = m_entries.find(path);
        if (found == m_entries.end()) return std::nullopt;
        const Kind kind = found->second;
        return Entry{.isSymbolicLink = kind == Kind::LinkToFolder || kind == Kind::DanglingLink,
                     .isFolder = kind == Kind::Folder || kind == Kind::Package,
                     .leadsToFolder = kind != Kind::File && kind != Kind::DanglingLink,
                     .isPackage = kind == Kind::Package};
    }

private:
    std::map<std::string, Kind> m_entries;
    std::map<std::string, std::optional<std::size_t>> m_failures;
};

}  // namespace testsupport
