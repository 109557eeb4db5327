// The size walk over a real tree of 100,000 files in 1,100 nested folders,
// against the standard library's walk and against du(1) run as a process.
// The tree is made once per run in the temporary folder and removed at exit;
// every measurement walks it with a warm cache.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "remains/SimpleSizeCalculation.h"

namespace {

namespace fs = std::filesystem;

constexpr int kTopFolders = 100;
constexpr int kSubFolders = 10;
constexpr int kFilesPerFolder = 100;

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

}  // namespace

BENCHMARK_MAIN();
