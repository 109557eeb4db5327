#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/DirectoryLister.h"
#include "platform/CheckedFolder.h"

namespace platform {

// What a tree of a folder needs to know about the disk, behind one seam: the
// real disk in the agent, a tree held in memory in tests.
class DirectoryReader {
public:
    // The facts about one entry. A trailing "/" on the path names the same
    // entry: it never makes a link count as what it points to.
    struct Entry {
        bool isSymbolicLink = false;
        // The entry itself is a folder; a link never is.
        bool isFolder = false;
        // What the path leads to is a folder, a final link followed.
        bool leadsToFolder = false;
        // A folder shown as one item (see isFilePackageAtPath).
        bool isPackage = false;
        // Names the entry is reached by; folders report 1.
        std::uint64_t linkCount = 1;
    };

    virtual ~DirectoryReader() = default;
    // The entry names of the folder the path leads to, and whether all were read.
    virtual DirectoryLister::Listing list(const std::string& path) const = 0;
    // nullopt when nothing is there, not even a dangling link.
    virtual std::optional<Entry> entryAt(const std::string& path) const = 0;

    using EntryType = DirectoryLister::EntryType;
    using Visitor = std::function<bool(std::string_view name, EntryType type)>;
    // Calls `visit` with each name of the folder the path leads to and its type
    // as far as the listing tells it (Unknown: ask entryAt); `visit` answers
    // false to stop. A walk of a large tree uses it to see each entry once
    // without holding a whole folder's names. Unless a reader does better,
    // it is list() with every type Unknown.
    virtual DirectoryLister::Status forEachEntry(const std::string& path,
                                                 const Visitor& visit) const;

    // The real disk.
    static const std::shared_ptr<const DirectoryReader>& disk();
    // The real disk, with every path inside `folder` read through it: what
    // is no longer that folder reads as nothing.
    static std::shared_ptr<const DirectoryReader> through(
        std::shared_ptr<const CheckedFolder> folder);
};

}  // namespace platform
