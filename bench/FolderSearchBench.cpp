// A large folder moved into a watched Trash, with one application deep
// inside: how long the main thread is kept from its other work, how much the
// process's peak memory grows, and when the application is announced. Real
// files in a temporary folder and real kernel events throughout.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>

#include "BenchSize.h"
#include "dispatch/RunLoopMainQueue.h"
#include "platform/FileWatcher.h"
#include "watching/AppsInTrashWatcher.h"
#include "watching/FileEventQueue.h"

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

namespace {

void touch(const std::string& path) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    if (fd >= 0) ::close(fd);
}

// A field of /proc/self/status in KiB ("VmRSS", "VmHWM").
long statusKib(const std::string& field) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(field + ":")) return std::stol(line.substr(field.size() + 1));
    }
    return -1;
}

// Starts the peak resident size (VmHWM) again from the current one.
bool resetPeakMemory() {
    std::ofstream clear("/proc/self/clear_refs");
    clear << "5";
    clear.flush();
    return static_cast<bool>(clear);
}

// An unpacked archive: `groups` folders of `perGroup` folders each, the files
// spread evenly over all of them, and one application five folders down.
// Made once and removed when the program ends.
class Archive {
public:
    static const Archive& shared() {
        static const Archive archive(benchSize(20, 2), benchSize(99, 9), benchSize(200000, 200));
        return archive;
    }
    ~Archive() {
        std::error_code ignored;
        fs::remove_all(m_sRoot, ignored);
    }
    std::string staging() const { return (m_sRoot / "Staging/Archive").string(); }
    std::string trash() const { return (m_sRoot / "Trash").string(); }
    int files() const { return m_nFiles; }
    int folders() const { return m_nFolders; }

private:
    Archive(int groups, int perGroup, int files) {
        std::string pattern = (fs::temp_directory_path() / "sweepwell-bench-XXXXXX").string();
        m_sRoot = ::mkdtemp(pattern.data()) ? pattern : "/tmp/sweepwell-bench-failed";
        fs::create_directories(m_sRoot / "Trash");
        std::vector<fs::path> folders;
        for (int g = 0; g < groups; ++g) {
            const fs::path group = m_sRoot / "Staging/Archive" / ("group-" + std::to_string(g));
            folders.push_back(group);
            for (int f = 0; f < perGroup; ++f)
                folders.push_back(group / ("part-" + std::to_string(f)));
        }
        for (const auto& folder : folders) fs::create_directories(folder);
        for (int i = 0; i < files; ++i) {
            touch((folders[i % folders.size()] / ("file-" + std::to_string(i) + ".dat")).string());
        }
        const fs::path bundle = folders[folders.size() / 2] / "lib/share/Tool.app";
        fs::create_directories(bundle / "Contents");
        std::ofstream(bundle / "Contents/Info.plist")
            << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
               "<key>CFBundleIdentifier</key><string>com.example.deep</string></dict></plist>\n";
        m_nFiles = files;
        m_nFolders = static_cast<int>(folders.size()) + 2;  // and lib/share
    }
    fs::path m_sRoot;
    int m_nFiles = 0;
    int m_nFolders = 0;
};

struct ReportListener : AppsInTrashWatcherListener {
    int reports = 0;
    void onAppMovedToTrash(const std::shared_ptr<platform::Bundle>&) override { ++reports; }
};

// Each iteration moves the archive into the Trash and runs the main loop
// until the application is announced and the folder's search has ended,
// with a 10 ms timer on the main queue. The figures are the worst over the
// iterations: the longest time between two ticks of that timer, and the
// growth of the peak resident size over the resident size before the move.
void BM_TrashedArchive(benchmark::State& state) {
    const auto& archive = Archive::shared();
    const std::string moved = archive.trash() + "/Archive";
    double longestGapMs = 0, peakGrowthMiB = 0, announcedS = 0, searchedS = 0;
    auto loop = std::make_shared<dispatch::RunLoopMainQueue>();
    {
        dispatch::ScopedMainQueue scoped(loop);
        for (auto _ : state) {
            auto listener = std::make_shared<ReportListener>();
            auto watcher = AppsInTrashWatcher::create(listener, archive.trash());
            auto lastTick = std::make_shared<Clock::time_point>(Clock::now());
            auto longest = std::make_shared<Clock::duration>(Clock::duration::zero());
            auto ticking = std::make_shared<bool>(true);
            std::shared_ptr<std::function<void()>> tick = std::make_shared<std::function<void()>>();
            *tick = [=, weak = std::weak_ptr(tick)] {
                const auto now = Clock::now();
                *longest = std::max(*longest, now - *lastTick);
                *lastTick = now;
                if (*ticking)
                    loop->after(std::chrono::milliseconds(10), [weak] {
                        if (auto next = weak.lock()) (*next)();
                    });
            };
            loop->after(std::chrono::milliseconds(10), [weak = std::weak_ptr(tick)] {
                if (auto next = weak.lock()) (*next)();
            });
            // Settles the first load and the timer before the move.
            loop->runUntil([] { return false; }, std::chrono::milliseconds(200));
            *longest = Clock::duration::zero();
            if (!resetPeakMemory()) {
                state.SkipWithError("the peak resident size cannot be reset");
                break;
            }
            const long before = statusKib("VmRSS");
            const auto start = Clock::now();
            std::rename(archive.staging().c_str(), moved.c_str());
            double announced = 0;
            const bool done = loop->runUntil(
                [&] {
                    if (listener->reports > 0 && announced == 0)
                        announced = std::chrono::duration<double>(Clock::now() - start).count();
                    return listener->reports > 0 &&
                           watcher->getTrashWatcher()->numberOfRunningSearches() == 0;
                },
                std::chrono::seconds(60));
            searchedS =
                std::max(searchedS, std::chrono::duration<double>(Clock::now() - start).count());
            // A main thread held until now shows in the next tick.
            loop->runUntil([] { return false; }, std::chrono::milliseconds(50));
            const auto gap = *longest;
            const long peak = statusKib("VmHWM");
            std::rename(moved.c_str(), archive.staging().c_str());
            // The rescan the move back asks for holds the watcher until it has
            // run; its watches end after that. The ticks keep the loop checking.
            watcher.reset();
            const bool ended = loop->runUntil(
                [] { return platform::FileWatcher::shared().numberOfWatches() == 0; },
                std::chrono::seconds(60));
            *ticking = false;
            if (!done || !ended) {
                state.SkipWithError(!done ? "the application was not announced within 60 s"
                                          : "the watcher's watches did not end");
                break;
            }
            longestGapMs =
                std::max(longestGapMs, std::chrono::duration<double, std::milli>(gap).count());
            peakGrowthMiB = std::max(peakGrowthMiB, (peak - before) / 1024.0);
            announcedS = std::max(announcedS, announced);
        }
    }
    state.counters["files"] = archive.files();
    state.counters["folders"] = archive.folders();
    state.counters["longest_main_gap_ms"] = longestGapMs;
    state.counters["peak_growth_MiB"] = peakGrowthMiB;
    state.counters["announced_after_s"] = announcedS;
    state.counters["searched_after_s"] = searchedS;
}
BENCHMARK(BM_TrashedArchive)->Iterations(benchSize(3, 1))->Unit(benchmark::kSecond);

}  // namespace

BENCHMARK_MAIN();
