#include <gtest/gtest.h>

#include <algorithm>
#include <mutex>
#include <set>
#include <thread>
#include <utility>
#include <vector>

#include "dispatch/ManualMainQueue.h"
#include "platform/PathUtils.h"
#include "support/DataTable.h"
#include "support/SampleBundle.h"
#include "support/Warnings.h"
#include "watching/DirectoryWatcher.h"
#include "watching/FolderAppSearch.h"
#include "watching/WatchingTestSupport.h"

using namespace std::chrono_literals;
using testsupport::TempDir;

namespace {

// The disk, read through list() alone (every type Unknown, as a reader that
// does not know better answers), recording the thread of every read.
class RecordingReader final : public platform::DirectoryReader {
public:
    platform::DirectoryLister::Listing list(const std::string& path) const override {
        record(path);
        return disk()->list(path);
    }
    std::optional<Entry> entryAt(const std::string& path) const override {
        record(path);
        return disk()->entryAt(path);
    }
    // The threads that read a path inside the folder.
    std::set<std::thread::id> threadsReading(const std::string& folder) const {
        std::lock_guard guard(m_lock);
        std::set<std::thread::id> threads;
        for (const auto& [path, thread] : m_arrReads) {
            if (path == folder || path.starts_with(folder + "/")) threads.insert(thread);
        }
        return threads;
    }

private:
    void record(const std::string& path) const {
        std::lock_guard guard(m_lock);
        m_arrReads.emplace_back(path, std::this_thread::get_id());
    }
    mutable std::mutex m_lock;
    mutable std::vector<std::pair<std::string, std::thread::id>> m_arrReads;
};

std::vector<std::string> searchAll(FolderAppSearch& search, const std::string& folder,
                                   FolderAppSearch::End* end = nullptr) {
    std::vector<std::string> found;
    const auto how = search.run(
        [&](const std::string& path) { found.push_back(path.substr(folder.size() + 1)); });
    if (end) *end = how;
    std::sort(found.begin(), found.end());
    return found;
}

// What is reported, and why, is in the table.
TEST(FolderAppSearch, FindsApplicationsAtAnyDepthOnlyOutsidePackagesAndLinks) {
    dispatch::ScopedMainQueue scoped{std::make_shared<dispatch::ManualMainQueue>()};
    TempDir dir;
    testsupport::makeBundle(dir, "Outside/Far.app");
    std::vector<std::string> expected;
    for (const auto& row : testsupport::readDataTable("FolderAppSearch/tree.tsv")) {
        const std::string at = "Dropped/" + row.at(0);
        const std::string& make = row.at(1);
        if (make == "bundle") testsupport::makeBundle(dir, at);
        if (make == "folder") dir.makeDir(at);
        if (make == "file") dir.writeFile(at);
        if (make == "info plist") dir.writeFile(at, "<plist><dict/></plist>");
        if (make == "outside link") dir.makeSymlink(at, dir / "Outside");
        if (row.at(2) == "yes") expected.push_back(row.at(0));
    }
    std::sort(expected.begin(), expected.end());

    const std::vector<std::pair<const char*, std::shared_ptr<const platform::DirectoryReader>>>
        readers = {{"the disk, types from the listing", platform::DirectoryReader::disk()},
                   {"a reader that only lists", std::make_shared<RecordingReader>()}};
    for (const auto& [what, reader] : readers) {
        SCOPED_TRACE(what);
        FolderAppSearch search(dir / "Dropped", reader, {});
        FolderAppSearch::End end{};
        EXPECT_EQ(searchAll(search, dir / "Dropped", &end), expected);
        EXPECT_EQ(end, FolderAppSearch::End::Searched);
    }
    // The searched folder itself is not looked into when it is a link.
    const std::string link = dir.makeSymlink("LinkToDropped", dir / "Dropped");
    FolderAppSearch throughLink(link, platform::DirectoryReader::disk(), {});
    EXPECT_TRUE(searchAll(throughLink, link).empty());
}

// Past either budget the rest of the folder is not searched, and one line
// says so (a search within them is the test above).
TEST(FolderAppSearch, StopsAtTheBudgetOfEntriesOrTimeAndSaysSo) {
    dispatch::ScopedMainQueue scoped{std::make_shared<dispatch::ManualMainQueue>()};
    TempDir dir;
    for (int i = 0; i < 40; ++i) dir.writeFile("Dropped/file-" + std::to_string(i));
    testsupport::makeBundle(dir, "Dropped/Sub/a/b/Late.app");
    const std::string folder = dir / "Dropped";

    struct Case {
        const char* what;
        FolderAppSearch::Limits limits;
        FolderAppSearch::End end;
    };
    const std::vector<Case> cases = {
        {"entries",
         {.maxEntries = 10, .maxDuration = 1h, .clock = {}},
         FolderAppSearch::End::EntryBudget},
        // A clock that moves one second at each reading: at the start and at
        // each folder (Dropped, Sub, a).
        {"time",
         {.maxEntries = 1000,
          .maxDuration = 3s,
          .clock = [now = std::chrono::steady_clock::time_point{}]() mutable { return now += 1s; }},
         FolderAppSearch::End::TimeBudget},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        testsupport::Warnings warnings;
        FolderAppSearch search(folder, platform::DirectoryReader::disk(), c.limits);
        FolderAppSearch::End end{};
        const auto found = searchAll(search, folder, &end);
        EXPECT_EQ(end, c.end);
        EXPECT_TRUE(found.empty());
        ASSERT_EQ(warnings.lines.size(), 1u);
        EXPECT_TRUE(warnings.lines[0].starts_with("watching: " + folder + ": "))
            << warnings.lines[0];
        EXPECT_NE(warnings.lines[0].find("the rest is not searched"), std::string::npos);
        if (c.end == FolderAppSearch::End::EntryBudget) {
            EXPECT_NE(warnings.lines[0].find(" 10 entries"), std::string::npos);
        }
    }
}

struct Delegate : DirectoryWatcherDelegate {
    std::vector<std::pair<std::string, std::thread::id>> added;
    void onAddedAppWithPath(const std::string& path) override {
        added.emplace_back(path, std::this_thread::get_id());
    }
};

// The walk reads through the watcher's reader, never on the main thread, and
// the applications come back on it. Items of the watched folder itself are
// judged by the names the watcher gives them.
TEST(FolderAppSearch, RunsOffTheMainThreadAndReportsOnIt) {
    auto queue = std::make_shared<dispatch::ManualMainQueue>();
    dispatch::ScopedMainQueue scoped{queue};
    TempDir dir;
    const std::string watched = dir.makeDir("Trash");
    testsupport::makeBundle(dir, "Trash/Notes.app (1)");
    testsupport::makeBundle(dir, "Trash/Tools (2)/Kit/Helper.app");
    testsupport::makeBundle(dir, "Dropped/x/y/z/Deep.app");
    auto reader = std::make_shared<RecordingReader>();
    auto delegate = std::make_shared<Delegate>();
    auto watcher = DirectoryWatcher::create(watched, reader, [] { return nullptr; });
    watcher->setDelegate(delegate);
    std::set<std::thread::id> namingThreads;
    watcher->setNameOfItem([&](const std::string& path) {
        namingThreads.insert(std::this_thread::get_id());
        return path == dir / "Trash/Notes.app (1)" ? "Notes.app"
                                                   : platform::PathUtils::lastPathComponent(path);
    });

    const std::vector<std::pair<std::string, std::vector<std::string>>> cases = {
        {dir / "Dropped", {dir / "Dropped/x/y/z/Deep.app"}},
        {watched, {dir / "Trash/Notes.app (1)", dir / "Trash/Tools (2)/Kit/Helper.app"}},
    };
    for (const auto& [folder, reported] : cases) {
        SCOPED_TRACE(folder);
        delegate->added.clear();
        watcher->checkFolderForAppsWithPath(folder);
        EXPECT_EQ(watcher->numberOfRunningSearches(), 1u);
        ASSERT_TRUE(watchingtest::searchesEnded(*queue, *watcher));
        std::vector<std::pair<std::string, std::thread::id>> expected;
        for (const auto& path : reported) expected.emplace_back(path, std::this_thread::get_id());
        std::sort(delegate->added.begin(), delegate->added.end());
        EXPECT_EQ(delegate->added, expected);
    }
    EXPECT_EQ(namingThreads, std::set{std::this_thread::get_id()});
    // Only the search read below the dropped folder; the watcher's own tree
    // read the watched folder on the main thread before.
    const auto threads = reader->threadsReading(dir / "Dropped");
    ASSERT_FALSE(threads.empty());
    EXPECT_FALSE(threads.count(std::this_thread::get_id()));
    EXPECT_FALSE(
        reader->threadsReading(dir / "Trash/Tools (2)/Kit").count(std::this_thread::get_id()));
}

// A queue that holds its blocks until the test runs them.
struct HeldQueue : dispatch::Queue {
    std::vector<dispatch::Block> blocks;
    void async(dispatch::Block block) override { blocks.push_back(std::move(block)); }
    bool isCurrent() const override { return false; }
};

// A watcher that goes away abandons its search: nothing is read or reported.
TEST(FolderAppSearch, AWatcherThatGoesAwayAbandonsItsSearch) {
    for (bool keepWatcher : {true, false}) {
        SCOPED_TRACE(keepWatcher ? "kept" : "gone");
        auto queue = std::make_shared<dispatch::ManualMainQueue>();
        dispatch::ScopedMainQueue scoped{queue};
        TempDir dir;
        testsupport::makeBundle(dir, "Dropped/Sub/App.app");
        auto reader = std::make_shared<RecordingReader>();
        auto delegate = std::make_shared<Delegate>();
        auto searches = std::make_shared<HeldQueue>();
        auto watcher =
            DirectoryWatcher::create(dir.makeDir("Trash"), reader, [] { return nullptr; });
        watcher->setDelegate(delegate);
        watcher->setSearchQueue(searches);
        watcher->checkFolderForAppsWithPath(dir / "Dropped");
        if (!keepWatcher) watcher.reset();
        ASSERT_EQ(searches->blocks.size(), 1u);
        std::thread(searches->blocks.front()).join();
        queue->runUntilIdle();
        EXPECT_EQ(delegate->added.size(), keepWatcher ? 1u : 0u);
        EXPECT_EQ(reader->threadsReading(dir / "Dropped").empty(), !keepWatcher);
        if (keepWatcher) {
            EXPECT_EQ(watcher->numberOfRunningSearches(), 0u);
        }
    }
}

}  // namespace
