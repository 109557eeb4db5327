#pragma once

#include <mutex>
#include <set>
#include <string>

// Paths in the home folder that the file tree treats as not existing, so that
// the address book and calendar data are never loaded or watched.
class SystemSkipList {
public:
    static SystemSkipList& shared();

    explicit SystemSkipList(const std::string& homeDirectory);

    // Exact, case-sensitive membership; a path below a listed folder is not contained.
    bool contains(const std::string& path) const;
    void addPath(const std::string& path);
    void clearContent();

private:
    mutable std::mutex m_lock;  // the file tree may ask from any thread
    std::set<std::string> skipItems;
};
