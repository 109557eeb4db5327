#include "platform/FolderAllocatedSize.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <memory>
#include <vector>

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

int openFolderAt(int parent, const char* name) {
    for (;;) {
        const int fd = ::openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (fd >= 0 || errno != EINTR) return fd;
    }
}

class Walker {
public:
    explicit Walker(DescendRule descend)
        : m_descend(descend), m_buffer(new char[kReadBufferSize]) {}

    std::uint64_t walk(int rootFd) {
        m_depth = 0;
        push(rootFd);
        while (true) {
            Frame& frame = m_frames[m_depth];
            if (frame.next < frame.names.size()) {
                const char* name = frame.names.data() + frame.next;
                frame.next += std::strlen(name) + 1;
                const int child = openFolderAt(frame.fd, name);
                if (child >= 0) {
                    ++m_depth;
                    push(child);
                }
                continue;
            }
            if (m_depth == 0) {
                ::close(frame.fd);
                return m_total;
            }
            if (!pop()) return m_total;
        }
    }

private:
    struct Frame {
        int fd = -1;
        // Who the folder is, read only when its descriptor is given up, to
        // recognise it when it is found again through "..".
        bool isIdentified = false;
        dev_t device = 0;
        ino_t inode = 0;
        std::string names;  // the sub-folders still to enter, each ended by '\0'
        std::size_t next = 0;
    };

    // Makes `fd` the frame at m_depth and reads its folder. Nothing else is
    // asked of the kernel per folder: a walk of a tree of small folders pays
    // for every call it makes here.
    void push(int fd) {
        if (m_frames.size() <= m_depth) m_frames.resize(m_depth + 1);
        Frame& frame = m_frames[m_depth];
        frame.fd = fd;
        frame.isIdentified = false;
        frame.names.clear();  // keeps its capacity for the next folder at this depth
        frame.next = 0;
        readFolder(frame);
        if (m_depth >= kMaxOpenFolders) {
            Frame& oldest = m_frames[m_depth - kMaxOpenFolders];
            struct stat info {};
            if (::fstat(oldest.fd, &info) == 0) {
                oldest.isIdentified = true;
                oldest.device = info.st_dev;
                oldest.inode = info.st_ino;
            }
            ::close(oldest.fd);
            oldest.fd = -1;
        }
    }

    // Leaves the frame at m_depth for its parent, finding the parent again
    // when its descriptor was given up. False when the parent cannot be found
    // again as the same folder: the walk then ends with what it has.
    bool pop() {
        Frame& frame = m_frames[m_depth];
        Frame& parent = m_frames[m_depth - 1];
        bool ok = true;
        if (parent.fd < 0) {
            parent.fd = openFolderAt(frame.fd, "..");
            struct stat info {};
            if (parent.fd < 0 || !parent.isIdentified || ::fstat(parent.fd, &info) != 0 ||
                info.st_dev != parent.device || info.st_ino != parent.inode) {
                ok = false;
            }
        }
        ::close(frame.fd);
        frame.fd = -1;
        --m_depth;
        if (!ok) {
            for (std::size_t depth = 0; depth <= m_depth; ++depth) {
                if (m_frames[depth].fd >= 0) ::close(m_frames[depth].fd);
                m_frames[depth].fd = -1;
            }
        }
        return ok;
    }

    void readFolder(Frame& frame) {
        for (;;) {
            const ssize_t got = ::getdents64(frame.fd, m_buffer.get(), kReadBufferSize);
            if (got < 0 && errno == EINTR) continue;
            if (got <= 0) return;  // the end, or an error: keep what was read
            for (ssize_t offset = 0; offset < got;) {
                const auto* entry =
                    reinterpret_cast<const struct dirent64*>(m_buffer.get() + offset);
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
        if (::fstatat(frame.fd, name, &info, AT_SYMLINK_NOFOLLOW) != 0) return;
        if (S_ISDIR(info.st_mode)) {
            enterLater(frame, name);  // the file system did not say what it was
        } else {
            m_total += allocatedBytes(info);
        }
    }

    void enterLater(Frame& frame, const char* name) {
        if (!m_descend(kFolderLinkCount)) return;
        frame.names.append(name);
        frame.names.push_back('\0');
    }

    DescendRule m_descend;
    std::unique_ptr<char[]> m_buffer;
    std::vector<Frame> m_frames;
    std::size_t m_depth = 0;
    std::uint64_t m_total = 0;
};

}  // namespace

std::optional<std::uint64_t> allocatedSizeOfEntry(const std::string& path) {
    struct stat info {};
    if (::lstat(path.c_str(), &info) != 0) return std::nullopt;
    return allocatedBytes(info);
}

std::uint64_t allocatedSizeOfFolderContents(const std::string& folder, DescendRule descend) {
    // The folder itself may be a link to a folder: it is the one place where a link is followed.
    const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return 0;
    return Walker(descend).walk(fd);
}

}  // namespace platform
