#include "support/Isolated.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <string>

namespace testsupport {
namespace {

bool writeAll(int fd, const std::string& text) {
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t wrote = ::write(fd, text.data() + done, text.size() - done);
        if (wrote < 0 && errno == EINTR) continue;
        if (wrote <= 0) return false;
        done += static_cast<std::size_t>(wrote);
    }
    return true;
}

bool writeFile(const char* path, const std::string& text) {
    const int fd = ::open(path, O_WRONLY | O_CLOEXEC);
    if (fd < 0) return false;
    const bool ok = writeAll(fd, text);
    ::close(fd);
    return ok;
}

// Exit code of a child that could not isolate itself.
constexpr int kUnsupported = 77;

bool isolate() {
    const uid_t uid = ::geteuid();
    const gid_t gid = ::getegid();
    if (uid == 0) return ::unshare(CLONE_NEWNS) == 0;
    if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
    // Mapped to the superuser inside, so that files keep an owner.
    return writeFile("/proc/self/setgroups", "deny") &&
           writeFile("/proc/self/uid_map", "0 " + std::to_string(uid) + " 1") &&
           writeFile("/proc/self/gid_map", "0 " + std::to_string(gid) + " 1");
}

}  // namespace

std::optional<std::string> runIsolated(const std::function<std::string()>& body) {
    int channel[2];
    if (::pipe2(channel, O_CLOEXEC) != 0) return std::nullopt;
    const pid_t child = ::fork();
    if (child < 0) {
        ::close(channel[0]);
        ::close(channel[1]);
        return std::nullopt;
    }
    if (child == 0) {
        ::close(channel[0]);
        if (!isolate() || ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
            ::_exit(kUnsupported);
        }
        const std::string answer = body();
        ::_exit(writeAll(channel[1], answer) ? 0 : 1);
    }
    ::close(channel[1]);
    std::string answer;
    char buffer[4096];
    for (;;) {
        const ssize_t got = ::read(channel[0], buffer, sizeof buffer);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) break;
        answer.append(buffer, static_cast<std::size_t>(got));
    }
    ::close(channel[0]);
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFEXITED(status) && WEXITSTATUS(status) == kUnsupported) return std::nullopt;
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) return "the isolated child failed";
    return answer;
}

}  // namespace testsupport
