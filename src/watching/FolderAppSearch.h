#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "dispatch/Queue.h"
#include "platform/DirectoryReader.h"

// The search of one folder for the application bundles inside it, at any
// depth. Made on the main thread and run on another one: a trashed folder
// can hold millions of entries. It keeps only the folders still to visit,
// never descends into a bundle or a package and never follows a link, and
// reads at most a budget of entries and time; past it, the rest of the
// folder is not searched and the log says so in one line.
class FolderAppSearch final {
public:
    struct Limits {
        std::size_t maxEntries = 200000;
        std::chrono::nanoseconds maxDuration = std::chrono::seconds(5);
        // The clock the time budget is measured on; the main queue's when unset.
        std::function<std::chrono::steady_clock::time_point()> clock;
    };

    enum class End {
        Searched,     // every folder was read
        EntryBudget,  // stopped at the entry budget
        TimeBudget,   // stopped at the time budget
        Abandoned,    // abandon() was called
    };

    // The name an entry is judged by (a Trash may store an item under another
    // name than it had). Called on the search's thread.
    using NameOf = std::function<std::string(const std::string& path)>;

    // `nameOf` unset: every entry is judged by its own name.
    FolderAppSearch(std::string folder, std::shared_ptr<const platform::DirectoryReader> reader,
                    Limits limits, NameOf nameOf = {});

    // Walks the folder breadth-first on the calling thread, reading only
    // through the reader, and hands `found` each application bundle that is
    // not inside another bundle. Answers how the walk ended.
    End run(const std::function<void(const std::string& path)>& found);

    // Stops the walk at its next entry. Once it returns, postToMain() posts
    // nothing more, so the one who abandons may go away with its main queue.
    void abandon();
    bool isAbandoned() const { return m_bAbandoned.load(std::memory_order_acquire); }
    // Sends the block to the main queue unless the search was abandoned;
    // answers whether it did.
    bool postToMain(dispatch::Block block);

    const std::string& folder() const { return m_sFolder; }

private:
    std::chrono::steady_clock::time_point now();
    bool isApplication(const std::string& path) const;

    const std::string m_sFolder;
    const std::shared_ptr<const platform::DirectoryReader> m_pReader;
    const Limits m_limits;
    const NameOf m_fnNameOf;
    // Held while the main queue is reached from the search's thread.
    std::mutex m_mainQueueLock;
    std::atomic<bool> m_bAbandoned{false};
};
