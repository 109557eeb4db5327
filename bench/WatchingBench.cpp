// Loading and rescanning a large Trash, and the time from moving a bundle
// into a watched Trash to its report, beyond the quiet period. Real files in
// a temporary folder and real kernel events throughout.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <thread>

#include "BenchSize.h"
#include "dispatch/RunLoopMainQueue.h"
#include "watching/AppsInTrashWatcher.h"
#include "watching/FileEventQueue.h"
#include "watching/FileItem.h"

namespace fs = std::filesystem;

namespace {

void touch(const std::string& path) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    if (fd >= 0) ::close(fd);
}

void makeBundle(const fs::path& bundle, const std::string& identifier) {
    fs::create_directories(bundle / "Contents");
    std::ofstream(bundle / "Contents/Info.plist")
        << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
           "<key>CFBundleIdentifier</key><string>"
        << identifier << "</string></dict></plist>\n";
}

// A Trash-like folder of `entries` direct entries: mostly files, one in ten a
// folder holding a file, one in a hundred an application bundle. Made once per
// size and removed when the program ends.
class TrashFolder {
public:
    static const TrashFolder& withEntries(int entries) {
        static std::map<int, std::unique_ptr<TrashFolder>> made;
        auto& slot = made[entries];
        if (!slot) slot.reset(new TrashFolder(entries));
        return *slot;
    }
    ~TrashFolder() {
        std::error_code ignored;
        fs::remove_all(m_sRoot, ignored);
    }
    std::string trash() const { return (m_sRoot / "Trash").string(); }
    std::string staging() const { return (m_sRoot / "Staging").string(); }

private:
    explicit TrashFolder(int entries) {
        std::string pattern = (fs::temp_directory_path() / "sweepwell-bench-XXXXXX").string();
        m_sRoot = ::mkdtemp(pattern.data()) ? pattern : "/tmp/sweepwell-bench-failed";
        const fs::path trash = m_sRoot / "Trash";
        fs::create_directories(trash);
        fs::create_directories(m_sRoot / "Staging");
        for (int i = 0; i < entries; ++i) {
            const std::string name = "item-" + std::to_string(i);
            if (i % 100 == 0) {
                makeBundle(trash / (name + ".app"), "com.example.bench" + std::to_string(i));
            } else if (i % 10 == 0) {
                fs::create_directories(trash / name);
                touch((trash / name / "inside").string());
            } else {
                touch((trash / name).string());
            }
        }
    }
    fs::path m_sRoot;
};

void BM_LoadTrash(benchmark::State& state) {
    const auto& folder = TrashFolder::withEntries(static_cast<int>(state.range(0)));
    std::size_t loaded = 0;
    for (auto _ : state) {
        // The watcher's own load: the folder and its direct entries.
        auto root = FileItem::createTreeForPath(folder.trash(), 1);
        loaded = root && root->getChildren() ? root->getChildren()->size() : 0;
        benchmark::DoNotOptimize(root);
    }
    state.counters["entries"] = static_cast<double>(loaded);
}
BENCHMARK(BM_LoadTrash)->Arg(benchSize(100000, 100))->Unit(benchmark::kMillisecond);

struct CountingListener : FileItemListener {
    int added = 0, removed = 0;
    void onAddedFileItem(const std::shared_ptr<FileItem>&,
                         const std::shared_ptr<FileItem>&) override {
        ++added;
    }
    void onRemovedFileItem(const std::shared_ptr<FileItem>&,
                           const std::shared_ptr<FileItem>&) override {
        ++removed;
    }
    std::shared_ptr<FileItem> getFileItemParent() override { return nullptr; }
};

void BM_RescanTrash(benchmark::State& state) {
    const auto& folder = TrashFolder::withEntries(static_cast<int>(state.range(0)));
    auto root = FileItem::createTreeForPath(folder.trash(), 1);
    auto listener = std::make_shared<CountingListener>();
    root->setListener(listener);
    int round = 0;
    for (auto _ : state) {
        // One entry arrives and another leaves between two rescans.
        state.PauseTiming();
        const std::string arriving = folder.trash() + "/arrived-" + std::to_string(round);
        touch(arriving);
        if (round > 0) ::unlink((folder.trash() + "/arrived-" + std::to_string(round - 1)).c_str());
        ++round;
        state.ResumeTiming();
        root->updateContentOfDir();
    }
    ::unlink((folder.trash() + "/arrived-" + std::to_string(round - 1)).c_str());
    state.counters["entries"] = static_cast<double>(root->getChildren()->size());
    state.counters["announced"] = static_cast<double>(listener->added + listener->removed);
}
BENCHMARK(BM_RescanTrash)->Arg(benchSize(100000, 100))->Unit(benchmark::kMillisecond);

struct ReportListener : AppsInTrashWatcherListener {
    int reports = 0;
    void onAppMovedToTrash(const std::shared_ptr<platform::Bundle>&) override { ++reports; }
};

// Each iteration moves a new bundle in and times the report; the figure is
// that time less the quiet period, i.e. the kernel delivery, the hand-over to
// the main queue, the rescan and the bundle checks.
void BM_MoveToReportBeyondQuietPeriod(benchmark::State& state) {
    const auto& folder = TrashFolder::withEntries(static_cast<int>(state.range(0)));
    auto loop = std::make_shared<dispatch::RunLoopMainQueue>();
    {
        dispatch::ScopedMainQueue scoped(loop);
        auto listener = std::make_shared<ReportListener>();
        auto watcher = AppsInTrashWatcher::create(listener, folder.trash());
        int round = 0;
        std::vector<std::string> moved;
        for (auto _ : state) {
            const std::string name = "Moved-" + std::to_string(round++) + ".app";
            makeBundle(folder.staging() + "/" + name, "com.example.moved" + std::to_string(round));
            const int before = listener->reports;
            const auto start = std::chrono::steady_clock::now();
            std::rename((folder.staging() + "/" + name).c_str(),
                        (folder.trash() + "/" + name).c_str());
            if (!loop->runUntil([&] { return listener->reports > before; },
                                std::chrono::seconds(10))) {
                state.SkipWithError("no report within 10 s");
                break;
            }
            const auto elapsed =
                std::chrono::steady_clock::now() - start - DirectoryWatcher::kUpdateDelay;
            state.SetIterationTime(std::chrono::duration<double>(elapsed).count());
            moved.push_back(folder.trash() + "/" + name);
        }
        watcher.reset();
        for (const auto& path : moved) fs::remove_all(path);
        state.counters["trash_entries"] = static_cast<double>(state.range(0));
    }
}
BENCHMARK(BM_MoveToReportBeyondQuietPeriod)
    ->Arg(10)
    ->Arg(benchSize(100000, 100))
    ->Iterations(benchSize(5, 1))
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
