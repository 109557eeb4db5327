#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "platform/PlistValue.h"

namespace platform {

// A settings store: one binary property-list file per suite holding a
// dictionary, "<config>/sweepwell/<suite>.plist", where <config> is
// $XDG_CONFIG_HOME when it is an absolute path, else "<home>/.config" with
// the home folder from the password database.
//
// Reads and writes work on memory; synchronize() writes what changed and
// picks up what another instance or process wrote. A missing or unreadable
// file is an empty store; it is only replaced once a value has been set or
// removed here. Separate instances on the same file share nothing but the
// file. All operations may be called from any thread.
class UserDefaults {
public:
    // The Helper's own store: the suite named by the main bundle's
    // identifier, or the Helper's identifier when there is no main bundle.
    static UserDefaults& standard();
    // The store of a named suite; null for a name that is empty, contains
    // "/" or starts with ".".
    static std::shared_ptr<UserDefaults> createWithSuiteName(const std::string& suite);
    // The file of a suite as described above; empty when there is no
    // config folder.
    static std::string pathForSuiteName(const std::string& suite);

    // A store kept in the given file; an empty path makes a store that lives
    // in memory only (synchronize() then answers false once it has changes).
    explicit UserDefaults(std::string filePath);
    UserDefaults(const UserDefaults&) = delete;
    UserDefaults& operator=(const UserDefaults&) = delete;

    const std::string& filePath() const { return m_sFilePath; }

    std::optional<PlistValue> objectForKey(const std::string& key) const;
    // Stores a value (a none value removes the key). False, with nothing
    // changed, for a value that no property list can hold.
    bool setObject(const std::string& key, PlistValue value);
    void removeObjectForKey(const std::string& key);
    // Writes the pending changes, merged over what the file now holds, and
    // answers whether they reached the disk (failed ones stay pending).
    // Without pending changes, reloads the file if it changed since it was
    // last read or written.
    bool synchronize();

private:
    struct FileStamp {
        std::uint64_t device = 0;
        std::uint64_t inode = 0;
        std::int64_t size = 0;
        std::int64_t modifiedSeconds = 0;
        std::int64_t modifiedNanoseconds = 0;
        bool exists = false;
        bool operator==(const FileStamp&) const = default;
    };

    FileStamp stampOfFile() const;
    // The file's dictionary, or nullopt when it is missing or not one.
    std::optional<PlistDictionary> readDictionary() const;
    bool ensureFolder() const;

    std::string m_sFilePath;
    mutable std::mutex m_mutex;
    PlistDictionary m_arrValues;
    // Changes not yet written: a value to store, or nullopt to remove.
    std::map<std::string, std::optional<PlistValue>> m_arrPendingChanges;
    FileStamp m_fileStamp;
};

}  // namespace platform
