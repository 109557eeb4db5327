#include "platform/FolderAllocatedSize.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <thread>
#include <utility>
#include <vector>

#include "platform/FileSystem.h"
#include "platform/PasswordDatabase.h"

namespace platform {

namespace {

// Folders report 1: Linux cannot give a folder a second name.
constexpr std::uint64_t kFolderLinkCount = 1;
// Descriptors kept open along the path being walked. Deeper than this, the
// oldest ones are closed and found again through ".." on the way back up, so
// that a very deep tree cannot run the process out of descriptors.
constexpr std::size_t kMaxOpenFolders = 64;
constexpr std::size_t kReadBufferSize = 64 * 1024;

std::uint64_t allocatedBytes(const struct stat& info) {
    return info.st_blocks > 0 ? static_cast<std::uint64_t>(info.st_blocks) * 512 : 0;
}

bool isDotOrDotDot(const char* name) {
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

// Whether the kernel can refuse, while opening, to cross into another mount
// (openat2); cleared for good the first time it says it cannot.
std::atomic<bool> g_canOpenWithinMount{true};

// Opens a sub-folder of `parent` that lies on `device`; empty when it cannot. Where
// the kernel can refuse to cross a mount point that costs nothing extra;
// elsewhere the opened folder's device is compared.
UniqueFd openFolderAt(int parent, const char* name, dev_t device) {
    if (g_canOpenWithinMount.load(std::memory_order_relaxed)) {
        struct open_how how {};
        how.flags = kFolderFlags;
        how.resolve = RESOLVE_NO_XDEV | RESOLVE_NO_SYMLINKS;
        for (;;) {
            const long fd = ::syscall(SYS_openat2, parent, name, &how, sizeof how);
            if (fd >= 0) return UniqueFd(static_cast<int>(fd));
            if (errno == EINTR || errno == EAGAIN) continue;
            // Not there, or refused by a filter: fall back to comparing devices.
            if (errno != ENOSYS && errno != EPERM && errno != E2BIG && errno != EINVAL) return {};
            break;
        }
        g_canOpenWithinMount.store(false, std::memory_order_relaxed);
    }
    int fd;
    do {
        fd = ::openat(parent, name, kFolderFlags);
    } while (fd < 0 && errno == EINTR);
    UniqueFd folder(fd);
    struct stat info {};
    if (!folder || ::fstat(folder.get(), &info) != 0 || info.st_dev != device) return {};
    return folder;
}

std::optional<std::pair<dev_t, ino_t>> identityOf(const std::string& path) {
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0) return std::nullopt;
    return std::make_pair(info.st_dev, info.st_ino);
}

// Whether the opened folder is the home folder or one above it, "/" always
// included: sizing those would walk the user's whole home or the whole disk.
// Both the home's own path and its resolved one are climbed, so that a home
// reached through a link is recognised under either name.
bool holdsTheHome(const struct stat& folder, std::string home) {
    const auto same = [&](const std::string& path) {
        const auto identity = identityOf(path);
        return identity && identity->first == folder.st_dev && identity->second == folder.st_ino;
    };
    if (same("/")) return true;
    if (home.empty()) home = homeFromPasswordDatabase();
    if (home.empty() || home[0] != '/') return false;
    std::vector<std::string> names{home};
    std::unique_ptr<char, void (*)(void*)> real(::realpath(home.c_str(), nullptr), std::free);
    if (real) names.emplace_back(real.get());
    for (std::string path : names) {
        while (path.size() > 1) {
            if (same(path)) return true;
            const auto slash = path.find_last_of('/');
            path.resize(slash == 0 ? 1 : slash);
        }
    }
    return false;
}

// Files with more than one name, seen so far in one walk: du counts each
// once, whichever name it meets first, and so do we. Shared by the threads
// of a parallel walk.
class SeenLinks {
public:
    bool firstSight(const struct stat& info) {
        const std::lock_guard<std::mutex> hold(m_lock);
        return m_arrSeen.emplace(info.st_dev, info.st_ino).second;
    }

private:
    std::mutex m_lock;
    std::set<std::pair<dev_t, ino_t>> m_arrSeen;
};

class Walker {
public:
    Walker(DescendRule descend, dev_t device, const std::atomic<bool>* abandoned, SeenLinks& links)
        : m_eDescend(descend),
          m_nDevice(device),
          m_pAbandoned(abandoned),
          m_links(links),
          m_pBuffer(new char[kReadBufferSize]) {}

    bool isAbandoned() const {
        return m_pAbandoned != nullptr && m_pAbandoned->load(std::memory_order_relaxed);
    }
    dev_t device() const { return m_nDevice; }
    std::uint64_t total() const { return m_nTotal; }

    // Reads one folder only: its files are counted, and the names of the
    // sub-folders to enter are answered, each ended by '\0'.
    std::string readOne(UniqueFd& fd) {
        Frame frame;
        frame.fd = std::move(fd);
        readFolder(frame);
        fd = std::move(frame.fd);
        return std::move(frame.names);
    }

    // Folders still open when the walk ends are closed with the walker.
    std::uint64_t walk(UniqueFd root) {
        m_nDepth = 0;
        push(std::move(root));
        while (true) {
            Frame& frame = m_arrFrames[m_nDepth];
            if (frame.next < frame.names.size()) {
                if (isAbandoned()) return m_nTotal;
                const char* name = frame.names.data() + frame.next;
                frame.next += std::strlen(name) + 1;
                UniqueFd child = openFolderAt(frame.fd.get(), name, m_nDevice);
                if (child) {
                    ++m_nDepth;
                    push(std::move(child));
                }
                continue;
            }
            if (m_nDepth == 0) return m_nTotal;
            if (!pop()) return m_nTotal;
        }
    }

private:
    struct Frame {
        UniqueFd fd;
        // Who the folder is, read only when its descriptor is given up, to
        // recognise it when it is found again through "..".
        bool isIdentified = false;
        dev_t device = 0;
        ino_t inode = 0;
        std::string names;  // the sub-folders still to enter, each ended by '\0'
        std::size_t next = 0;
    };

    // Makes `fd` the frame at m_nDepth and reads its folder. Nothing else is
    // asked of the kernel per folder: a walk of a tree of small folders pays
    // for every call it makes here.
    void push(UniqueFd fd) {
        if (m_arrFrames.size() <= m_nDepth) m_arrFrames.resize(m_nDepth + 1);
        Frame& frame = m_arrFrames[m_nDepth];
        frame.fd = std::move(fd);
        frame.isIdentified = false;
        frame.names.clear();  // keeps its capacity for the next folder at this depth
        frame.next = 0;
        readFolder(frame);
        if (m_nDepth >= kMaxOpenFolders) {
            Frame& oldest = m_arrFrames[m_nDepth - kMaxOpenFolders];
            struct stat info {};
            if (::fstat(oldest.fd.get(), &info) == 0) {
                oldest.isIdentified = true;
                oldest.device = info.st_dev;
                oldest.inode = info.st_ino;
            }
            oldest.fd.reset();
        }
    }

    // Leaves the frame at m_nDepth for its parent, finding the parent again
    // when its descriptor was given up. False when the parent cannot be found
    // again as the same folder: the walk then ends with what it has.
    bool pop() {
        Frame& frame = m_arrFrames[m_nDepth];
        Frame& parent = m_arrFrames[m_nDepth - 1];
        bool ok = true;
        if (!parent.fd) {
            parent.fd = openFolderAt(frame.fd.get(), "..", m_nDevice);
            struct stat info {};
            if (!parent.fd || !parent.isIdentified || ::fstat(parent.fd.get(), &info) != 0 ||
                info.st_dev != parent.device || info.st_ino != parent.inode) {
                ok = false;
            }
        }
        frame.fd.reset();
        --m_nDepth;
        return ok;
    }

    void readFolder(Frame& frame) {
        for (;;) {
            const ssize_t got = ::getdents64(frame.fd.get(), m_pBuffer.get(), kReadBufferSize);
            if (got < 0 && errno == EINTR) continue;
            if (got <= 0) return;  // the end, or an error: keep what was read
            for (ssize_t offset = 0; offset < got;) {
                const auto* entry =
                    reinterpret_cast<const struct dirent64*>(m_pBuffer.get() + offset);
                offset += entry->d_reclen;
                if (!isDotOrDotDot(entry->d_name)) visit(frame, entry->d_name, entry->d_type);
            }
        }
    }

    void visit(Frame& frame, const char* name, unsigned char type) {
        if (type == DT_DIR) {
            enterLater(frame, name);
            return;
        }
        struct stat info {};
        if (::fstatat(frame.fd.get(), name, &info, AT_SYMLINK_NOFOLLOW) != 0) return;
        // A file mounted over this one belongs to another file system.
        if (info.st_dev != m_nDevice) return;
        if (S_ISDIR(info.st_mode)) {
            enterLater(frame, name);  // the file system did not say what it was
        } else if (info.st_nlink <= 1 || S_ISLNK(info.st_mode) || m_links.firstSight(info)) {
            m_nTotal += allocatedBytes(info);
        }
    }

    void enterLater(Frame& frame, const char* name) {
        if (!m_eDescend(kFolderLinkCount)) return;
        frame.names.append(name);
        frame.names.push_back('\0');
    }

    DescendRule m_eDescend;
    dev_t m_nDevice;
    const std::atomic<bool>* m_pAbandoned;
    SeenLinks& m_links;
    std::unique_ptr<char[]> m_pBuffer;
    std::vector<Frame> m_arrFrames;
    std::size_t m_nDepth = 0;
    std::uint64_t m_nTotal = 0;
};

// The threads that help walks along. One set for the whole process, so that
// walks running side by side (the size tasks of several leftovers) never
// make more threads than the machine has cores: each walk's own thread works
// too, and the pool adds one thread per further core.
class WalkPool {
public:
    static WalkPool& shared() {
        // Never destroyed: a walk may still be running while the process ends.
        static WalkPool* const pool = new WalkPool();
        return *pool;
    }

    // The threads a walk can count on: its own and the pool's.
    std::size_t threadCount() const { return m_nThreads + 1; }

    // Runs `drain` on the calling thread and on each pool thread that is free
    // to join, and answers once every one of them has returned from it.
    // `drain` returns when nothing is left to take.
    void run(const std::function<void()>& drain) {
        auto job = std::make_shared<Job>();
        job->drain = &drain;
        {
            const std::lock_guard<std::mutex> hold(m_lock);
            m_arrJobs.push_back(job);
        }
        m_cvWork.notify_all();
        drain();
        std::unique_lock<std::mutex> hold(m_lock);
        job->isExhausted = true;
        m_arrJobs.erase(std::find(m_arrJobs.begin(), m_arrJobs.end(), job));
        m_cvDone.wait(hold, [&] { return job->helpers == 0; });
    }

private:
    struct Job {
        const std::function<void()>* drain = nullptr;
        int helpers = 0;
        bool isExhausted = false;  // a helper found nothing left: no one joins any more
    };

    WalkPool() : m_nThreads(std::max(1u, std::thread::hardware_concurrency()) - 1) {
        for (std::size_t i = 0; i < m_nThreads; ++i) std::thread([this] { serve(); }).detach();
    }

    std::shared_ptr<Job> openJob() const {
        for (const auto& job : m_arrJobs) {
            if (!job->isExhausted) return job;
        }
        return nullptr;
    }

    void serve() {
        std::unique_lock<std::mutex> hold(m_lock);
        for (;;) {
            m_cvWork.wait(hold, [&] { return openJob() != nullptr; });
            const std::shared_ptr<Job> job = openJob();
            ++job->helpers;
            hold.unlock();
            (*job->drain)();
            hold.lock();
            job->isExhausted = true;
            if (--job->helpers == 0) m_cvDone.notify_all();
        }
    }

    const std::size_t m_nThreads;
    std::mutex m_lock;
    std::condition_variable m_cvWork;
    std::condition_variable m_cvDone;
    std::deque<std::shared_ptr<Job>> m_arrJobs;
};

// Enough sub-folders per thread that one large one does not leave the other
// threads idle for long, found at most this many levels down.
constexpr std::size_t kSubFoldersPerThread = 16;
constexpr int kMaxSplitDepth = 3;

// The top of the tree is read here, level by level, until it has given
// enough sub-folders to share; then every thread of the pool takes the next
// sub-folder not yet taken and walks it whole. The folders whose sub-folders
// are shared stay open, so that each one is opened relative to its parent.
std::uint64_t walkInParallel(UniqueFd root, DescendRule descend, dev_t device,
                             const std::atomic<bool>* abandoned) {
    struct SubFolder {
        int parent;
        std::string name;
    };
    SeenLinks links;
    Walker top(descend, device, abandoned, links);
    std::vector<UniqueFd> parents;
    std::vector<SubFolder> shared;
    const auto share = [&](UniqueFd folder) {
        const std::string names = top.readOne(folder);
        for (std::size_t at = 0; at < names.size(); at += std::strlen(names.data() + at) + 1) {
            shared.push_back({folder.get(), names.data() + at});
        }
        parents.push_back(std::move(folder));
    };
    share(std::move(root));
    const std::size_t wanted = kSubFoldersPerThread * WalkPool::shared().threadCount();
    for (int depth = 1;
         depth < kMaxSplitDepth && !shared.empty() && shared.size() < wanted && !top.isAbandoned();
         ++depth) {
        const std::vector<SubFolder> level = std::exchange(shared, {});
        for (const SubFolder& sub : level) {
            if (UniqueFd folder = openFolderAt(sub.parent, sub.name.c_str(), device)) {
                share(std::move(folder));
            }
        }
    }

    std::atomic<std::size_t> next{0};
    std::atomic<std::uint64_t> total{top.total()};
    const std::function<void()> drain = [&] {
        Walker walker(descend, device, abandoned, links);
        for (std::size_t i = next++; i < shared.size() && !walker.isAbandoned(); i = next++) {
            UniqueFd folder = openFolderAt(shared[i].parent, shared[i].name.c_str(), device);
            if (folder) walker.walk(std::move(folder));
        }
        total += walker.total();
    };
    WalkPool::shared().run(drain);
    return total;
}

}  // namespace

std::optional<std::uint64_t> allocatedSizeOfEntry(const std::string& path) {
    struct stat info {};
    if (::lstat(path.c_str(), &info) != 0) return std::nullopt;
    return allocatedBytes(info);
}

std::uint64_t allocatedSizeOfFolderContents(const std::string& folder, DescendRule descend,
                                            const FolderWalkLimits& limits) {
    // The folder itself may be a link to a folder: it is the one place where a link is followed.
    UniqueFd root(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    struct stat info {};
    if (!root || ::fstat(root.get(), &info) != 0 || holdsTheHome(info, limits.homeDirectory)) {
        return 0;
    }
    if (limits.inParallel) {
        return walkInParallel(std::move(root), descend, info.st_dev, limits.abandoned);
    }
    SeenLinks links;
    return Walker(descend, info.st_dev, limits.abandoned, links).walk(std::move(root));
}

}  // namespace platform
