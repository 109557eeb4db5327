#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

// Reads the entry names of a folder and says whether it saw all of them. A
// read that ends early is not the folder's content: callers that compare it
// with what they knew must not take missing names for vanished entries.
class DirectoryLister {
public:
    enum class Status {
        Complete,  // every entry was seen
        Stopped,   // the visitor asked to stop
        Failed,    // the folder could not be opened, or reading it failed part-way
    };

    // What the folder's own record says an entry is, without looking at the
    // entry: Unknown where the file system does not say.
    enum class EntryType { Unknown, Folder, SymbolicLink, Other };

    struct Listing {
        Status status = Status::Failed;
        // In the order the file system gives them, hidden ones included,
        // without "." and "..". Whatever was read before a failure is kept.
        std::vector<std::string> names;
        bool isComplete() const { return status == Status::Complete; }
    };

    // Calls `visit` with each name (a final link at the path is followed);
    // `visit` answers false to stop.
    static Status forEachEntry(const std::string& path,
                               const std::function<bool(std::string_view name)>& visit);
    // The same, with each entry's type as the listing gives it: a walk learns
    // which entries are plain files without asking about each one.
    static Status forEachTypedEntry(
        const std::string& path,
        const std::function<bool(std::string_view name, EntryType type)>& visit);
    static Listing contentsOfDirectoryAtPath(const std::string& path);
};

}  // namespace platform
