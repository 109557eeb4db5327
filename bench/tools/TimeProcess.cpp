// Runs a program as a whole process and says how long it took:
//   time_process <output file> <program> [arguments...]
// The program's standard output goes to the file (created or emptied
// beforehand, so that opening it is not timed); the time from just before
// the process is made until it has been waited for, on the monotonic clock,
// is printed in nanoseconds. The exit status is the program's own, or 127
// when it could not be started.
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>

extern char** environ;

namespace {

long long monotonicNanoseconds() {
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<long long>(now.tv_sec) * 1000000000LL + now.tv_nsec;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: %s <output file> <program> [arguments...]\n", argv[0]);
        return 2;
    }
    const int output = ::open(argv[1], O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (output < 0) {
        std::fprintf(stderr, "time_process: %s: %s\n", argv[1], std::strerror(errno));
        return 2;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);

    const long long start = monotonicNanoseconds();
    pid_t child = 0;
    const int error = ::posix_spawnp(&child, argv[2], &actions, nullptr, argv + 2, environ);
    if (error != 0) {
        std::fprintf(stderr, "time_process: %s: %s\n", argv[2], std::strerror(error));
        return 127;
    }
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    const long long elapsed = monotonicNanoseconds() - start;

    posix_spawn_file_actions_destroy(&actions);
    ::close(output);
    std::printf("%lld\n", elapsed);
    if (WIFEXITED(status)) return WEXITSTATUS(status);
    return 128 + (WIFSIGNALED(status) ? WTERMSIG(status) : 0);
}
