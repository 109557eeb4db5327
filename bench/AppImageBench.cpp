// Reading the identity of a 200 MB AppImage: the desktop entry, the icon and
// the AppStream id. Only the superblock, the tables they need and those few
// files should be read, so the time must not grow with the image; the goal is
// at most 20 ms. The image is made once per run with mksquashfs (zstd, as
// current AppImages are) from incompressible data in 40 large files and 2,000
// small ones (their tails fill the fragment table), removed at exit.
// "Warm": the file in the page cache; "Uncached": the file's pages dropped
// from the cache before each read (not timed), so that what is read comes
// from the disk. "read_kb" is what one reading takes from the file (the
// process's read bytes, /proc/self/io).
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

#include "BenchSize.h"
#include "platform/AppImage.h"
#include "support/SampleAppImage.h"

namespace {

namespace fs = std::filesystem;

const int kLargeFiles = benchSize(40, 2);
const std::size_t kLargeFileBytes = benchSize<std::size_t>(5'000'000, 500'000);
const int kSmallFiles = benchSize(2000, 50);

std::string randomBytes(std::mt19937_64& random, std::size_t size) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i + 8 <= size; i += 8) {
        const std::uint64_t word = random();
        std::memcpy(bytes.data() + i, &word, 8);
    }
    return bytes;
}

void writeFile(const fs::path& path, const std::string& contents) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << contents;
}

struct SampleImage {
    std::string folder;
    std::string path;
    std::uint64_t bytes = 0;

    SampleImage() {
        std::string pattern =
            (fs::temp_directory_path() / "sweepwell-appimagebench-XXXXXX").string();
        folder = mkdtemp(pattern.data());
        const fs::path appDir = fs::path(folder) / "AppDir";
        std::mt19937_64 random(28);
        writeFile(appDir / "org.example.Foo.desktop",
                  "[Desktop Entry]\nType=Application\nName=Foo\nExec=foo %U\nIcon=foo\n");
        writeFile(appDir / "usr/share/icons/hicolor/256x256/apps/foo.png",
                  std::string("\x89PNG\r\n\x1a\n", 8) + randomBytes(random, 40'000));
        fs::create_symlink("usr/share/icons/hicolor/256x256/apps/foo.png", appDir / ".DirIcon");
        writeFile(appDir / "usr/share/metainfo/org.example.Foo.appdata.xml",
                  "<component type=\"desktop-application\"><id>org.example.Foo</id></component>");
        for (int i = 0; i < kLargeFiles; ++i)
            writeFile(appDir / "usr/lib" / ("lib" + std::to_string(i) + ".so"),
                      randomBytes(random, kLargeFileBytes));
        for (int i = 0; i < kSmallFiles; ++i)
            writeFile(appDir / "usr/share/foo" / std::to_string(i % 40) / std::to_string(i),
                      randomBytes(random, 500 + i % 4000));
        const std::string made = folder + "/Foo-x86_64.AppImage";
        if (testsupport::makeAppImage(appDir.string(), made,
                                      testsupport::sampleElf(testsupport::ElfShape{}), "zstd")) {
            path = made;
            bytes = fs::file_size(path);
        }
        fs::remove_all(appDir);
    }
    ~SampleImage() { fs::remove_all(folder); }
};

const SampleImage& sampleImage() {
    static const SampleImage image;
    return image;
}

void dropFromCache(const std::string& path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return;
    ::fdatasync(fd);
    ::posix_fadvise(fd, 0, 0, POSIX_FADV_DONTNEED);
    ::close(fd);
}

// Bytes this process has read through read(2) and pread(2) so far.
std::uint64_t bytesReadSoFar() {
    std::ifstream io("/proc/self/io");
    std::string key;
    std::uint64_t value = 0;
    while (io >> key >> value)
        if (key == "rchar:") return value;
    return 0;
}

void readIdentity(benchmark::State& state, bool uncached) {
    const SampleImage& image = sampleImage();
    if (image.path.empty()) {
        state.SkipWithError("mksquashfs could not make the sample AppImage");
        return;
    }
    for (auto _ : state) {
        if (uncached) {
            state.PauseTiming();
            dropFromCache(image.path);
            state.ResumeTiming();
        }
        const auto identity = platform::AppImage::readIdentity(image.path);
        if (!identity || identity->desktopFileName.empty() || identity->icon.empty() ||
            identity->appStreamId != "org.example.Foo") {
            state.SkipWithError("the identity was not read whole");
            return;
        }
        benchmark::DoNotOptimize(identity);
    }
    state.counters["image_mb"] = static_cast<double>(image.bytes) / 1e6;
    // What one reading takes from the file, measured once more after the loop.
    const std::uint64_t before = bytesReadSoFar();
    benchmark::DoNotOptimize(platform::AppImage::readIdentity(image.path));
    state.counters["read_kb"] = static_cast<double>(bytesReadSoFar() - before) / 1e3;
}

void BM_AppImageIdentityWarm(benchmark::State& state) {
    readIdentity(state, false);
}
BENCHMARK(BM_AppImageIdentityWarm)->Unit(benchmark::kMillisecond);

void BM_AppImageIdentityUncached(benchmark::State& state) {
    readIdentity(state, true);
}
BENCHMARK(BM_AppImageIdentityUncached)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
