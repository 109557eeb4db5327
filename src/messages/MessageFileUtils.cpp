#include "messages/MessageFileUtils.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace MessageFileUtils {

namespace {

// 2001-01-01 00:00:00 UTC in Unix time.
constexpr std::int64_t kReferenceDateUnixSeconds = 978307200;

bool writeAll(int fd, std::string_view contents) {
    while (!contents.empty()) {
        const ssize_t written = ::write(fd, contents.data(), contents.size());
        if (written < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        contents.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

}  // namespace

std::uint64_t secondsSinceReferenceDate() {
    using namespace std::chrono;
    const auto sinceEpoch = system_clock::now().time_since_epoch();
    // duration_cast truncates toward zero, as the conversion to an integer does.
    const std::int64_t seconds = duration_cast<std::chrono::seconds>(
                                     sinceEpoch - std::chrono::seconds(kReferenceDateUnixSeconds))
                                     .count();
    return static_cast<std::uint64_t>(seconds);
}

std::string randomString(std::uint64_t counter, std::uint64_t seconds) {
    char text[64];
    std::snprintf(text, sizeof text, "random_%llu-%llu", static_cast<unsigned long long>(counter),
                  static_cast<unsigned long long>(seconds));
    return text;
}

bool existsWithoutFollowingLink(const std::string& path) {
    struct stat info {};
    return !path.empty() && ::lstat(path.c_str(), &info) == 0;
}

void createFolder(const std::string& folder) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
}

bool writeFileAtomically(const std::string& path, std::string_view contents, unsigned permissions) {
    if (path.empty() || path.back() == '/') return false;
    const std::size_t slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "./" : path.substr(0, slash + 1);
    const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    std::string temporary = folder + "." + name + ".XXXXXX";
    const int fd = ::mkostemp(temporary.data(), O_CLOEXEC);
    if (fd < 0) return false;
    bool ok = ::fchmod(fd, static_cast<mode_t>(permissions & 07777)) == 0 &&
              writeAll(fd, contents) && ::fsync(fd) == 0;
    ok = ::close(fd) == 0 && ok;
    if (ok) ok = ::rename(temporary.c_str(), path.c_str()) == 0;
    if (!ok) {
        ::unlink(temporary.c_str());
        return false;
    }
    return true;
}

std::optional<std::string> readFile(const std::string& path, std::size_t limit) {
    // Non-blocking, so a FIFO put in the file's place cannot hang the reader.
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    if (fd < 0) return std::nullopt;
    std::optional<std::string> contents;
    struct stat info {};
    if (::fstat(fd, &info) == 0 && S_ISREG(info.st_mode)) {
        contents.emplace();
        char chunk[65536];
        for (;;) {
            const ssize_t got = ::read(fd, chunk, sizeof chunk);
            if (got < 0 && errno == EINTR) continue;
            if (got == 0) break;
            if (got < 0 || contents->size() + static_cast<std::size_t>(got) > limit) {
                contents.reset();
                break;
            }
            contents->append(chunk, static_cast<std::size_t>(got));
        }
    }
    ::close(fd);
    return contents;
}

}  // namespace MessageFileUtils
