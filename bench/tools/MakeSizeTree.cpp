// Fills a folder with a generated tree for the sizing comparison:
//   make_size_tree <folder> [folders=10000] [files=200000]
// The folders form a tree with 20 sub-folders to a folder, filled level by
// level; the files are scattered over the folders and the root at random
// (so some folders hold none and some many), with lengths from empty through
// part blocks and whole blocks to a few of some hundred kilobytes. One entry
// in a thousand is a symbolic link to a file beside it. There are no hard
// links, so du and our walk must count the same bytes for what is not a
// folder. The same arguments always make the same tree.
// Prints "<folders> <files> <links> <bytes written>" and exits 0, or names
// what it could not create and exits 1.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr std::uint64_t kFanOut = 20;
constexpr std::size_t kLongestFile = 160 * 1024;

// A small fixed-seed generator: the tree must be the same on every run.
class Random {
public:
    std::uint64_t next() {
        m_state ^= m_state << 13;
        m_state ^= m_state >> 7;
        m_state ^= m_state << 17;
        return m_state;
    }
    // In [low, high].
    std::uint64_t between(std::uint64_t low, std::uint64_t high) {
        return low + next() % (high - low + 1);
    }

private:
    std::uint64_t m_state = 0x5eedf01d3e5a11edULL;
};

std::size_t fileLength(Random& random) {
    const std::uint64_t kind = random.next() % 100;
    if (kind < 12) return 0;
    if (kind < 62) return random.between(1, 4095);      // less than a block
    if (kind < 72) return 4096 * random.between(1, 2);  // whole blocks
    if (kind < 94) return random.between(4097, 12287);  // ends in a part block
    if (kind < 99) return random.between(12288, 64 * 1024);
    return random.between(64 * 1024 + 1, kLongestFile);
}

// Says what could not be made, with the reason; answers false for the caller to pass on.
bool fail(const std::string& what) {
    std::fprintf(stderr, "make_size_tree: %s: %s\n", what.c_str(), std::strerror(errno));
    return false;
}

bool writeFile(const std::string& path, const char* data, std::size_t length) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    if (fd < 0) return fail(path);
    std::size_t done = 0;
    while (done < length) {
        const ssize_t wrote = ::write(fd, data + done, length - done);
        if (wrote < 0 && errno == EINTR) continue;
        if (wrote <= 0) {
            ::close(fd);
            return fail(path);
        }
        done += static_cast<std::size_t>(wrote);
    }
    return ::close(fd) == 0 || fail(path);
}

std::uint64_t argument(char** argv, int argc, int index, std::uint64_t otherwise) {
    if (index >= argc) return otherwise;
    char* end = nullptr;
    const unsigned long long value = std::strtoull(argv[index], &end, 10);
    return end != argv[index] && *end == '\0' ? value : 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2 || argc > 4) {
        std::fprintf(stderr, "usage: %s <folder> [folders] [files]\n", argv[0]);
        return 2;
    }
    const std::string root = argv[1];
    const std::uint64_t folderCount = argument(argv, argc, 2, 10000);
    const std::uint64_t fileCount = argument(argv, argc, 3, 200000);
    if (folderCount == 0 || fileCount == 0) {
        std::fprintf(stderr, "make_size_tree: counts must be positive numbers\n");
        return 2;
    }

    // Folder k's parent is folder k / kFanOut - 1, or the root for the first
    // kFanOut: a breadth-first numbering, so parents come before children.
    std::vector<std::string> folders;
    folders.reserve(folderCount + 1);
    folders.push_back(root);
    for (std::uint64_t k = 0; k < folderCount; ++k) {
        const std::uint64_t parent = k / kFanOut;  // its index in `folders`: 0 is the root
        std::string path = folders[parent] + "/folder " + std::to_string(k % kFanOut);
        if (::mkdir(path.c_str(), 0755) != 0) {
            fail(path);
            return 1;
        }
        folders.push_back(std::move(path));
    }

    Random random;
    std::vector<std::uint32_t> filesIn(folders.size(), 0);
    for (std::uint64_t i = 0; i < fileCount; ++i) ++filesIn[random.next() % folders.size()];

    static const char* const kExtensions[] = {"", ".plist", ".db", ".cache", ".log", ".json"};
    const std::string payload(kLongestFile, 'x');
    std::uint64_t files = 0, links = 0, bytes = 0, made = 0;
    for (std::size_t f = 0; f < folders.size(); ++f) {
        std::string previous;
        for (std::uint32_t i = 0; i < filesIn[f]; ++i, ++made) {
            const std::string path = folders[f] + "/item" + std::to_string(made) +
                                     kExtensions[random.next() % std::size(kExtensions)];
            if (!previous.empty() && random.next() % 1000 == 0) {
                // Relative, so the tree could be moved without breaking it.
                const std::string target = previous.substr(previous.rfind('/') + 1);
                if (::symlink(target.c_str(), path.c_str()) != 0) {
                    fail(path);
                    return 1;
                }
                ++links;
                continue;
            }
            const std::size_t length = fileLength(random);
            if (!writeFile(path, payload.data(), length)) return 1;
            ++files;
            bytes += length;
            previous = path;
        }
    }
    std::printf("%llu %llu %llu %llu\n", static_cast<unsigned long long>(folderCount),
                static_cast<unsigned long long>(files), static_cast<unsigned long long>(links),
                static_cast<unsigned long long>(bytes));
    return 0;
}
