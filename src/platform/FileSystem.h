#pragma once

#include <dirent.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

// The few file-system chores every part of the agent needs, done one way:
// owners that close what they opened, reads of small files, a write that
// replaces a file whole, the private folders the agent keeps data in, whether
// something is at a path, and free names for new files.
namespace platform {

// Owns one open descriptor and closes it exactly once, whatever path the
// code takes out of the scope that opened it. Move-only.
class UniqueFd {
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) noexcept : m_nFD(fd) {}
    UniqueFd(UniqueFd&& other) noexcept : m_nFD(other.release()) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept {
        if (this != &other) reset(other.release());
        return *this;
    }
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;
    ~UniqueFd() { reset(); }

    int get() const noexcept { return m_nFD; }
    explicit operator bool() const noexcept { return m_nFD >= 0; }
    // Gives the descriptor up without closing it.
    int release() noexcept { return std::exchange(m_nFD, -1); }
    // Closes the held descriptor (if any) and holds `fd` instead.
    void reset(int fd = -1) noexcept;
    // Closes now and answers whether that succeeded: for a file just written,
    // a failed close can be the first sign that its data did not make it.
    bool close() noexcept;

private:
    int m_nFD = -1;
};

// Owns an open directory stream.
struct DirectoryStreamCloser {
    void operator()(DIR* stream) const noexcept { ::closedir(stream); }
};
using DirectoryStream = std::unique_ptr<DIR, DirectoryStreamCloser>;

// The whole content of a regular file of at most `limit` bytes; nullopt when
// it cannot be opened, is no regular file, or is larger (or, with
// Links::Refuse, is a link). Opened without blocking, so a FIFO put in the
// file's place cannot hang the reader.
enum class Links { Follow, Refuse };
std::optional<std::string> readWholeFile(const std::string& path, std::size_t limit,
                                         Links links = Links::Follow);

// What is left to read of the open file, up to its end; nullopt on a read
// error or once more than `limit` bytes came. `expected` sizes the buffer.
std::optional<std::string> readToEnd(int fd, std::size_t limit, std::size_t expected = 0);

// Writes every byte, retrying after interruptions; false on any error.
bool writeAll(int fd, const void* bytes, std::size_t size);

// Replaces the file at `path` with `contents` so that a reader sees either
// the old file or the whole new one, never a part: the bytes go to a fresh
// file beside it (made exclusively, so no link or file put there is used),
// reach the disk, get `permissions`, and the file is renamed over the old
// one; the folder is then synced so the rename survives a crash. On failure
// the old file is untouched and the temporary one is gone.
bool writeFileAtomically(const std::string& path, std::string_view contents, unsigned permissions);

// Whether the path leads to a folder, a final link followed.
bool leadsToFolder(const std::string& path);

// Whether anything is at the path, a final symbolic link not followed (so a
// dangling link is something); false for an empty path.
bool existsWithoutFollowingLink(const std::string& path);

// The first name `nextName` gives that names nothing in `folder` (see
// existsWithoutFollowingLink); nullopt once `nextName` gives none. Nothing
// is created: whoever makes the file must still make it exclusively.
std::optional<std::string> firstFreeName(
    const std::string& folder, const std::function<std::optional<std::string>()>& nextName);

// Makes every missing folder of `path` with mode 0700 (the per-user data and
// config folders are private); true when `path` ends up a folder.
bool makePrivateFolders(const std::string& path);

}  // namespace platform
