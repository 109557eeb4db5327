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
        m_entries.erase(path);
        std::erase_if(m_entries, [&](const auto& e) { return e.first.starts_with(path + "/"); });
    }
    // From now on, reading the folder fails after `entriesBefore` names.
    void failListing(const std::string& folder, std::size_t entriesBefore) {
        m_failures[folder] = entriesBefore;
    }
    void healListing(const std::string& folder) { m_failures.erase(folder); }

    platform::DirectoryLister::Listing list(const std::string& path) const override {
        platform::DirectoryLister::Listing listing;
        const auto found = entryAt(path);
        if (!found || !found->leadsToFolder) return listing;
        const auto failure = m_failures.find(path);
        for (auto it = m_entries.upper_bound(path + "/");
             it != m_entries.end() && it->first.starts_with(path + "/"); ++it) {
            if (it->first.find('/', path.size() + 1) != std::string::npos) continue;
            if (failure != m_failures.end() && listing.names.size() == failure->second) {
                return listing;
            }
            listing.names.push_back(it->first.substr(path.size() + 1));
        }
        listing.status = platform::DirectoryLister::Status::Complete;
        return listing;
    }

    std::optional<Entry> entryAt(const std::string& path) const override {
        const auto found = m_entries.find(path);
        if (found == m_entries.end()) return std::nullopt;
        const Kind kind = found->second;
        Entry entry;
        entry.isSymbolicLink = kind == Kind::LinkToFolder || kind == Kind::DanglingLink;
        entry.isFolder = kind == Kind::Folder || kind == Kind::Package;
        entry.leadsToFolder = entry.isFolder || kind == Kind::LinkToFolder;
        entry.isPackage = kind == Kind::Package;
        return entry;
    }

private:
    std::map<std::string, Kind> m_entries;
    std::map<std::string, std::size_t> m_failures;
};

}  // namespace testsupport
