#include "watching/FolderAppSearch.h"

#include <cstdio>
#include <deque>

#include "dispatch/MainQueue.h"
#include "environment/ApplicationDirectoryUtils.h"
#include "platform/Log.h"
#include "platform/PathUtils.h"
#include "watching/SystemSkipList.h"

namespace {

// The clock is read once per folder and once per this many entries: often
// enough to stop close to the budget, rarely enough to cost nothing.
constexpr std::size_t kEntriesPerClockReading = 256;

// A real folder, as the file tree takes one: not a link, whatever it leads to.
bool isRealFolder(const std::optional<platform::DirectoryReader::Entry>& entry) {
    return entry && entry->isFolder && !entry->isSymbolicLink;
}

}  // namespace

FolderAppSearch::FolderAppSearch(std::string folder,
                                 std::shared_ptr<const platform::DirectoryReader> reader,
                                 Limits limits, NameOf nameOf)
    : m_sFolder(std::move(folder)),
      m_pReader(std::move(reader)),
      m_limits(std::move(limits)),
      m_fnNameOf(std::move(nameOf)) {}

void FolderAppSearch::abandon() {
    std::lock_guard guard(m_mainQueueLock);
    m_bAbandoned.store(true, std::memory_order_release);
}

bool FolderAppSearch::postToMain(dispatch::Block block) {
    std::lock_guard guard(m_mainQueueLock);
    if (isAbandoned()) return false;
    dispatch::MainQueue::main().async(std::move(block));
    return true;
}

std::chrono::steady_clock::time_point FolderAppSearch::now() {
    if (m_limits.clock) return m_limits.clock();
    std::lock_guard guard(m_mainQueueLock);
    // Abandoned, the main queue may be gone; the walk stops at its next entry.
    if (isAbandoned()) return {};
    return dispatch::MainQueue::main().now();
}

// The judgment the file tree makes of a folder it meets.
bool FolderAppSearch::isApplication(const std::string& path) const {
    const std::string name =
        m_fnNameOf ? m_fnNameOf(path) : platform::PathUtils::lastPathComponent(path);
    return ApplicationDirectoryUtils::isApplicationAtPath(path, name) &&
           !ApplicationDirectoryUtils::parentBundlePathForPath(path);
}

FolderAppSearch::End FolderAppSearch::run(
    const std::function<void(const std::string& path)>& found) {
    if (isAbandoned()) return End::Abandoned;
    // The searched folder itself is taken as the file tree takes it: a link
    // or a package there is not looked into.
    const auto root = m_pReader->entryAt(m_sFolder);
    if (!isRealFolder(root) || root->isPackage || SystemSkipList::shared().contains(m_sFolder)) {
        return End::Searched;
    }

    const auto start = now();
    std::size_t entries = 0;
    End end = End::Searched;
    const auto overTime = [&] {
        if (now() - start < m_limits.maxDuration) return false;
        end = End::TimeBudget;
        return true;
    };
    // Only the folders still to visit are kept, not what was seen in them.
    std::deque<std::string> folders{m_sFolder};
    while (!folders.empty() && end == End::Searched) {
        if (isAbandoned()) return End::Abandoned;
        if (overTime()) break;
        const std::string folder = std::move(folders.front());
        folders.pop_front();
        m_pReader->forEachEntry(
            folder, [&](std::string_view name, platform::DirectoryReader::EntryType type) {
                if (isAbandoned()) {
                    end = End::Abandoned;
                    return false;
                }
                if (entries == m_limits.maxEntries) {
                    end = End::EntryBudget;
                    return false;
                }
                if (++entries % kEntriesPerClockReading == 0 && overTime()) return false;
                using Type = platform::DirectoryReader::EntryType;
                if (type == Type::SymbolicLink || type == Type::Other) return true;
                const std::string path =
                    platform::PathUtils::stringByAppendingPathComponent(folder, std::string(name));
                if (SystemSkipList::shared().contains(path)) return true;
                const auto entry = m_pReader->entryAt(path);
                if (!isRealFolder(entry)) return true;
                if (isApplication(path)) {
                    found(path);
                } else if (!entry->isPackage) {
                    folders.push_back(path);
                }
                return true;
            });
    }
    if (end == End::EntryBudget || end == End::TimeBudget) {
        char seconds[32];
        std::snprintf(seconds, sizeof seconds, "%.1f",
                      std::chrono::duration<double>(now() - start).count());
        platform::Log::warning("watching", m_sFolder + ": searched for applications in " +
                                               std::to_string(entries) + " entries and " + seconds +
                                               " s, the most allowed; the rest is not searched");
    }
    return end;
}
