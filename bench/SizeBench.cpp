// The size walk over a real tree of 100,000 files in 1,100 nested folders,
// against the standard library's walk and against du(1) run as a process;
// and the sizing of one application's set of 13 leftovers on the pool of 4
// workers, against sizing them one after another.
// Each tree is made once per run in the temporary folder and removed at
// exit; every measurement walks it with a warm cache.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "BenchSize.h"
#include "dispatch/MainQueue.h"
#include "dispatch/RunLoopMainQueue.h"
#include "platform/FolderAllocatedSize.h"
#include "remains/SimpleSizeCalculation.h"

namespace {

namespace fs = std::filesystem;

const int kTopFolders = benchSize(100, 2);
const int kSubFolders = benchSize(10, 2);
const int kFilesPerFolder = benchSize(100, 10);

// A count of the sample Library's, a hundredth of it in a smoke run.
int scaled(int count) {
    return benchSize(count, count < 100 ? 1 : count / 100);
}

std::uint64_t blocksOf(const struct stat& info) {
    return static_cast<std::uint64_t>(info.st_blocks) * 512;
}

struct Tree {
    std::string root;
    std::uint64_t files = 0;
    std::uint64_t folderBytes =
        0;  // what the folders themselves take, which du counts and we do not

    Tree() {
        std::string pattern = (fs::temp_directory_path() / "sweepwell-sizebench-XXXXXX").string();
        root = mkdtemp(pattern.data());
        const std::string payload(8000, 'p');
        for (int top = 0; top < kTopFolders; ++top) {
            const std::string topPath = root + "/t" + std::to_string(top);
            ::mkdir(topPath.c_str(), 0700);
            for (int sub = 0; sub < kSubFolders; ++sub) {
                const std::string folder = topPath + "/s" + std::to_string(sub);
                ::mkdir(folder.c_str(), 0700);
                for (int i = 0; i < kFilesPerFolder; ++i) {
                    const std::string file = folder + "/f" + std::to_string(i);
                    const int fd = ::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
                    if (fd < 0) continue;
                    // 0 to 8000 bytes: empty files, part blocks and whole ones.
                    const std::size_t length = static_cast<std::size_t>((i % 5) * 2000);
                    if (::write(fd, payload.data(), length) == static_cast<ssize_t>(length))
                        ++files;
                    ::close(fd);
                }
            }
        }
        std::error_code error;
        for (const auto& entry : fs::recursive_directory_iterator(root, error)) {
            struct stat info {};
            if (entry.is_directory() && ::lstat(entry.path().c_str(), &info) == 0) {
                folderBytes += blocksOf(info);
            }
        }
        struct stat info {};
        if (::lstat(root.c_str(), &info) == 0) folderBytes += blocksOf(info);
    }
    ~Tree() {
        std::error_code error;
        fs::remove_all(root, error);
    }
};

Tree& tree() {
    static Tree instance;
    return instance;
}

std::uint64_t duBytes(const std::string& path) {
    const std::string command = "du -s --block-size=1 '" + path + "'";
    FILE* pipe = ::popen(command.c_str(), "r");
    if (pipe == nullptr) return 0;
    unsigned long long bytes = 0;
    if (std::fscanf(pipe, "%llu", &bytes) != 1) bytes = 0;
    ::pclose(pipe);
    return bytes;
}

void BM_FastFolderSize(benchmark::State& state) {
    const Tree& t = tree();
    std::int64_t bytes = 0;
    for (auto _ : state) {
        bytes = SimpleSizeCalculation::fastFolderSizeOfItemWithPath(t.root);
        benchmark::DoNotOptimize(bytes);
    }
    // du counts the folders' own blocks as well; with no hard links in the
    // tree the two must then agree to the byte.
    const std::uint64_t du = duBytes(t.root);
    state.counters["files"] = static_cast<double>(t.files);
    state.counters["bytes"] = static_cast<double>(bytes);
    state.counters["du_bytes"] = static_cast<double>(du);
    state.counters["matches_du"] = static_cast<std::uint64_t>(bytes) + t.folderBytes == du ? 1 : 0;
    state.counters["files_per_second"] = benchmark::Counter(
        static_cast<double>(t.files), benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_FastFolderSize)->Unit(benchmark::kMillisecond)->UseRealTime();

// How long a walk of the tree runs on once its owner gives it up: the walk
// is abandoned 5 ms after it started, and the time from then until it
// answers is what is measured.
void BM_AbandonedWalkStops(benchmark::State& state) {
    const Tree& t = tree();
    for (auto _ : state) {
        std::atomic<bool> abandoned{false};
        platform::FolderWalkLimits limits;
        limits.abandoned = &abandoned;
        std::atomic<bool> returned{false};
        std::chrono::steady_clock::time_point end;
        std::thread walk([&] {
            platform::allocatedSizeOfFolderContents(
                t.root, [](std::uint64_t) { return true; }, limits);
            end = std::chrono::steady_clock::now();
            returned = true;
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        const auto start = std::chrono::steady_clock::now();
        abandoned = true;
        walk.join();
        if (!returned) state.SkipWithError("the walk did not return");
        state.SetIterationTime(std::chrono::duration<double>(
                                   std::max(end - start, std::chrono::steady_clock::duration{}))
                                   .count());
    }
}
BENCHMARK(BM_AbandonedWalkStops)->Unit(benchmark::kMillisecond)->UseManualTime();

// The obvious way, for comparison: the standard library's recursive walk
// with a path built and examined per entry.
void BM_StdFilesystemWalk(benchmark::State& state) {
    const Tree& t = tree();
    std::uint64_t bytes = 0;
    for (auto _ : state) {
        bytes = 0;
        std::error_code error;
        for (auto it = fs::recursive_directory_iterator(t.root, error);
             !error && it != fs::recursive_directory_iterator(); it.increment(error)) {
            struct stat info {};
            if (::lstat(it->path().c_str(), &info) == 0 && !S_ISDIR(info.st_mode)) {
                bytes += blocksOf(info);
            }
        }
        benchmark::DoNotOptimize(bytes);
    }
    state.counters["bytes"] = static_cast<double>(bytes);
}
BENCHMARK(BM_StdFilesystemWalk)->Unit(benchmark::kMillisecond)->UseRealTime();

// du(1) as a whole process, start-up included.
void BM_DuProcess(benchmark::State& state) {
    const Tree& t = tree();
    std::uint64_t bytes = 0;
    for (auto _ : state) {
        bytes = duBytes(t.root);
        benchmark::DoNotOptimize(bytes);
    }
    state.counters["bytes"] = static_cast<double>(bytes);
}
BENCHMARK(BM_DuProcess)->Unit(benchmark::kMillisecond)->UseRealTime();

// --- One application's leftovers, sized as a set -------------------------

// A Library holding what one application left behind: the 13 places the
// remains finder lists, in its order, with the shapes they have in real
// life: a cache, a container and a support folder of thousands of files
// each, small folders (saved state, preferences, help index) and single
// files (preferences, log, cookies, help file, notification ticket, launch
// agent, crash report). About 36,000 files and 380 MB on disk in all.
struct Library {
    std::string home;
    std::vector<std::string> paths;  // the leftovers, in the finder's order
    std::uint64_t files = 0;
    // The set's size found by the standard library's walk: an answer that
    // does not depend on our walk, to hold the sized totals against.
    std::uint64_t walkedBytes = 0;

    Library() {
        std::string pattern =
            (fs::temp_directory_path() / "sweepwell-remainsbench-XXXXXX").string();
        home = mkdtemp(pattern.data());
        const std::string id = "com.acme.PhotoForge";
        const std::string name = "PhotoForge";
        const std::string library = home + "/Library";
        const std::string support = library + "/Application Support";

        // Caches: a URL cache database and its blobs, and thumbnails in 256
        // shard folders.
        const std::string caches = leftover(library + "/Caches/" + id);
        file(caches + "/Cache.db", 2 << 20);
        file(caches + "/Cache.db-wal", 400 << 10);
        for (int i = 0; i < scaled(4000); ++i) {
            file(caches + "/fsCachedData/" + uuidLike(i), 500 + next() % 24000);
        }
        for (int shard = 0; shard < scaled(256); ++shard) {
            const std::string folder = caches + "/thumbnails/" + hex2(shard);
            for (int i = 0; i < scaled(40); ++i)
                file(folder + "/t" + std::to_string(i) + ".jpg", 1000 + next() % 7000);
        }

        const std::string state =
            leftover(library + "/Saved Application State/" + id + ".savedState");
        file(state + "/data.data", 90000);
        file(state + "/windows.plist", 1800);
        file(state + "/restorecount.plist", 120);

        file(leftover(library + "/Preferences/" + id + ".plist"), 6200);

        const std::string preferences = leftover(library + "/Preferences/" + name);
        for (int i = 0; i < 6; ++i)
            file(preferences + "/setting" + std::to_string(i) + ".plist", 300 + next() % 3000);

        file(leftover(library + "/Logs/" + name + ".log"), 310000);
        file(leftover(library + "/Cookies/" + id + ".cookies"), 16000);

        // Container: the sandboxed application's own Library, with the links
        // a container holds to the user's folders.
        const std::string container = leftover(library + "/Containers/" + id);
        file(container + "/.com.apple.containermanagerd.metadata.plist", 9000);
        const std::string data = container + "/Data";
        for (const char* folder : {"Desktop", "Downloads", "Movies", "Music", "Pictures"}) {
            symlink(data, std::string("../../../../") + folder, folder);
        }
        for (int i = 0; i < scaled(6000); ++i) {
            file(data + "/Library/Caches/" + id + "/c" + std::to_string(i % 60) + "/" + uuidLike(i),
                 next() % 20000);
        }
        for (int project = 0; project < scaled(50); ++project) {
            const std::string folder = data + "/Library/Application Support/" + name +
                                       "/Projects/p" + std::to_string(project);
            file(folder + "/project.plist", 4000);
            for (int i = 0; i < scaled(99); ++i)
                file(folder + "/layers/l" + std::to_string(i), next() % 30000);
        }
        for (int i = 0; i < scaled(1000); ++i) {
            file(data + "/Library/WebKit/" + id + "/WebsiteData/IndexedDB/v1/b" +
                     std::to_string(i % 20) + "/" + std::to_string(i) + ".blob",
                 next() % 6000);
        }
        file(data + "/Library/Preferences/" + id + ".plist", 5000);
        mkdirs(data + "/tmp");

        const std::string help =
            leftover(support + "/Caches/com.apple.helpd/Generated/" + id + ".help");
        for (int i = 0; i < scaled(120); ++i)
            file(help + "/page" + std::to_string(i) + ".cshelpindex", 200 + next() % 9000);
        file(leftover(support +
                      "/Caches/com.apple.helpd/SDMHelpData/Other/English/HelpSDMIndexFile/" + id +
                      ".help"),
             40000);
        file(leftover(support + "/Growl/Tickets/" + name + ".growlTicket"), 2100);

        // Support: plug-in bundles, presets, a catalogue database, previews.
        const std::string own = leftover(support + "/" + name);
        for (int plugin = 0; plugin < scaled(40); ++plugin) {
            const std::string bundle =
                own + "/Plug-Ins/Filter" + std::to_string(plugin) + ".bundle/Contents";
            file(bundle + "/Info.plist", 1400);
            file(bundle + "/MacOS/Filter" + std::to_string(plugin), 200000);
            for (int i = 0; i < scaled(60); ++i)
                file(bundle + "/Resources/r" + std::to_string(i) + ".png", next() % 12000);
        }
        for (int i = 0; i < scaled(3000); ++i) {
            file(own + "/Presets/set" + std::to_string(i % 30) + "/preset" + std::to_string(i) +
                     ".xmp",
                 300 + next() % 2500);
        }
        file(own + "/Catalogue.sqlite", 8 << 20);
        for (int i = 0; i < scaled(4000); ++i) {
            file(own + "/Previews/" + hex2(i % 64) + "/" + uuidLike(i) + ".png",
                 2000 + next() % 14000);
        }

        file(leftover(library + "/LaunchAgents/" + id + ".updater.plist"), 900);
        file(leftover(support + "/CrashReporter/" + name +
                      "_5C1E0A67-0F3B-4E4B-9F7A-2B0C1D6E8F90.plist"),
             1100);

        for (const auto& path : paths) walkedBytes += walkedSize(path);
    }
    ~Library() {
        std::error_code error;
        fs::remove_all(home, error);
    }

private:
    std::uint64_t m_seed = 0x9e3779b97f4a7c15ULL;

    // Lengths vary but are the same on every run.
    std::uint64_t next() {
        m_seed ^= m_seed << 13;
        m_seed ^= m_seed >> 7;
        m_seed ^= m_seed << 17;
        return m_seed;
    }
    static std::string hex2(int value) {
        static const char digits[] = "0123456789ABCDEF";
        return {digits[(value >> 4) & 15], digits[value & 15]};
    }
    std::string uuidLike(int i) {
        return hex2(i & 255) + hex2((i >> 8) & 255) + "-" + std::to_string(next() % 100000000);
    }

    std::string leftover(std::string path) {
        paths.push_back(path);
        return path;
    }
    static void mkdirs(const std::string& path) {
        std::error_code error;
        fs::create_directories(path, error);
    }
    void file(const std::string& path, std::size_t length) {
        mkdirs(fs::path(path).parent_path());
        const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        if (fd < 0) return;
        static const std::string payload(8 << 20, 'r');
        if (::write(fd, payload.data(), length) == static_cast<ssize_t>(length)) ++files;
        ::close(fd);
    }
    void symlink(const std::string& folder, const std::string& target, const std::string& name) {
        mkdirs(folder);
        if (::symlink(target.c_str(), (folder + "/" + name).c_str()) == 0) ++files;
    }
    // What the agent would count at `path`, found with std::filesystem and
    // lstat: the entry itself for a file, everything in it that is not a
    // folder for a folder.
    static std::uint64_t walkedSize(const std::string& path) {
        struct stat info {};
        if (::lstat(path.c_str(), &info) != 0) return 0;
        if (!S_ISDIR(info.st_mode)) return blocksOf(info);
        std::uint64_t bytes = 0;
        std::error_code error;
        for (auto it = fs::recursive_directory_iterator(path, error);
             !error && it != fs::recursive_directory_iterator(); it.increment(error)) {
            if (::lstat(it->path().c_str(), &info) == 0 && !S_ISDIR(info.st_mode)) {
                bytes += blocksOf(info);
            }
        }
        return bytes;
    }
};

Library& library() {
    static Library instance;
    return instance;
}

// Hears the answers, on the main queue's thread.
class SetListener final : public SimpleSizeCalculationTaskListener {
public:
    void onSimpleSizeCalculationTaskComplete(
        const std::shared_ptr<SimpleSizeCalculationTask>& task) override {
        ++m_nAnswered;
        m_nBytes += task->itemSize();
    }
    std::size_t answered() const { return m_nAnswered; }
    std::uint64_t bytes() const { return m_nBytes; }

private:
    std::size_t m_nAnswered = 0;
    std::uint64_t m_nBytes = 0;
};

using Clock = std::chrono::steady_clock;
constexpr dispatch::Duration kSetTimeout = std::chrono::seconds(60);

struct SetResult {
    bool isComplete = false;
    double seconds = 0;
    std::uint64_t bytes = 0;
};

// The whole set on the pool, as the remains finder hands it over: one task
// per path, then the main queue runs until every answer is in.
SetResult sizeSetOnPool(dispatch::RunLoopMainQueue& queue, SimpleSizeCalculation& calculation,
                        const std::vector<std::string>& paths) {
    auto listener = std::make_shared<SetListener>();
    const auto start = Clock::now();
    for (const auto& path : paths) {
        calculation.addTask(std::make_shared<SimpleSizeCalculationTask>(listener, path));
    }
    const bool complete =
        queue.runUntil([&] { return listener->answered() >= paths.size(); }, kSetTimeout);
    const std::chrono::duration<double> elapsed = Clock::now() - start;
    // The pool winds down between two applications' sets in the agent too;
    // this is not part of the set's time.
    queue.runUntil([&] { return !calculation.isWorking(); }, kSetTimeout);
    return {complete && listener->answered() == paths.size(), elapsed.count(), listener->bytes()};
}

// The same set on this one thread, each folder walked without the shared
// walk threads: the time the sizes took before walks were shared. A link to a
// folder is sized as the folder, as a task sizes it.
SetResult sizeSetOneByOne(dispatch::RunLoopMainQueue& /*queue*/,
                          const std::vector<std::string>& paths) {
    const auto start = Clock::now();
    std::uint64_t bytes = 0;
    platform::FolderWalkLimits oneThread;
    oneThread.inParallel = false;
    for (const auto& path : paths) {
        struct stat info {};
        if (::stat(path.c_str(), &info) != 0) continue;
        bytes += S_ISDIR(info.st_mode) ? platform::allocatedSizeOfFolderContents(
                                             path, [](std::uint64_t) { return true; }, oneThread)
                                       : platform::allocatedSizeOfEntry(path).value_or(0);
    }
    const std::chrono::duration<double> elapsed = Clock::now() - start;
    return {true, elapsed.count(), bytes};
}

void addLibraryCounters(benchmark::State& state, const Library& lib, std::uint64_t bytes) {
    state.counters["paths"] = static_cast<double>(lib.paths.size());
    state.counters["files"] = static_cast<double>(lib.files);
    state.counters["bytes"] = static_cast<double>(bytes);
    state.counters["matches_walk"] = bytes == lib.walkedBytes ? 1 : 0;
}

// Time per set with the pool of 4 workers. Each timed set is paired with an
// untimed one-by-one set right after it, in the same conditions, for the
// speed-up (one-by-one time / pool time, over all pairs) and for the check
// that both answer the same bytes.
void BM_RemainsSetFourWorkers(benchmark::State& state) {
    const Library& lib = library();
    auto queue = std::make_shared<dispatch::RunLoopMainQueue>();
    dispatch::ScopedMainQueue scoped(queue);
    const auto calculation = SimpleSizeCalculation::create();
    double poolSeconds = 0, oneByOneSeconds = 0;
    bool isSameBytes = true;
    std::uint64_t bytes = 0;
    for (auto _ : state) {
        const SetResult pool = sizeSetOnPool(*queue, *calculation, lib.paths);
        if (!pool.isComplete) {
            state.SkipWithError("the pool did not answer every task");
            break;
        }
        state.SetIterationTime(pool.seconds);
        state.PauseTiming();
        const SetResult alone = sizeSetOneByOne(*queue, lib.paths);
        state.ResumeTiming();
        poolSeconds += pool.seconds;
        oneByOneSeconds += alone.seconds;
        isSameBytes = isSameBytes && alone.isComplete && alone.bytes == pool.bytes;
        bytes = pool.bytes;
    }
    addLibraryCounters(state, lib, bytes);
    state.counters["same_bytes"] = isSameBytes ? 1 : 0;
    if (poolSeconds > 0) state.counters["speed_up"] = oneByOneSeconds / poolSeconds;
}
BENCHMARK(BM_RemainsSetFourWorkers)->Unit(benchmark::kMillisecond)->UseManualTime();

// Time per set sized one path after another on one thread.
void BM_RemainsSetOneByOne(benchmark::State& state) {
    const Library& lib = library();
    auto queue = std::make_shared<dispatch::RunLoopMainQueue>();
    dispatch::ScopedMainQueue scoped(queue);
    std::uint64_t bytes = 0;
    for (auto _ : state) {
        const SetResult alone = sizeSetOneByOne(*queue, lib.paths);
        if (!alone.isComplete) {
            state.SkipWithError("a task was not answered");
            break;
        }
        state.SetIterationTime(alone.seconds);
        bytes = alone.bytes;
    }
    addLibraryCounters(state, lib, bytes);
}
BENCHMARK(BM_RemainsSetOneByOne)->Unit(benchmark::kMillisecond)->UseManualTime();

}  // namespace

BENCHMARK_MAIN();
