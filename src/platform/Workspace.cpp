#include "platform/Workspace.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <map>
#include <memory>
#include <optional>

#include "platform/Bundle.h"
#include "platform/BundleTrust.h"
#include "platform/DirectoryLister.h"
#include "platform/FileSystem.h"
#include "platform/LaunchServices.h"
#include "platform/PathUtils.h"

extern char** environ;

namespace platform::Workspace {

namespace {

bool isAllDigits(const std::string& name) {
    return !name.empty() &&
           std::all_of(name.begin(), name.end(), [](char c) { return c >= '0' && c <= '9'; });
}

std::optional<std::string> readLink(const std::string& path) {
    std::string buffer(256, '\0');
    for (;;) {
        const ssize_t length = ::readlink(path.c_str(), buffer.data(), buffer.size());
        if (length < 0) return std::nullopt;
        if (static_cast<std::size_t>(length) < buffer.size()) {
            buffer.resize(static_cast<std::size_t>(length));
            return buffer;
        }
        if (buffer.size() >= 65536) return std::nullopt;
        buffer.resize(buffer.size() * 2);
    }
}

// A small file read whole (the command line of a process); at most `limit`
// bytes are kept.
std::string readSmallFile(const std::string& path, std::size_t limit) {
    std::string contents;
    const UniqueFd fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    if (!fd) return contents;
    char chunk[4096];
    while (contents.size() < limit) {
        const ssize_t got = ::read(fd.get(), chunk, sizeof chunk);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) break;
        contents.append(chunk, static_cast<std::size_t>(got));
    }
    if (contents.size() > limit) contents.resize(limit);
    return contents;
}

struct FileIdentity {
    dev_t device = 0;
    ino_t inode = 0;
    bool operator==(const FileIdentity&) const = default;
};

// The file a path leads to (links followed, as exec follows them).
std::optional<FileIdentity> identityOf(const std::string& path) {
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return std::nullopt;
    return FileIdentity{info.st_dev, info.st_ino};
}

// The interpreter a script's "#!" line names; empty when the file is not such
// a script. The kernel reads at most this much of that line.
std::string interpreterOfScript(const std::string& path) {
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return {};
    const std::string head = readSmallFile(path, 256);
    if (head.size() < 3 || head[0] != '#' || head[1] != '!') return {};
    const std::size_t lineEnd = std::min(head.find('\n'), head.size());
    const std::size_t start = head.find_first_not_of(" \t", 2);
    if (start == std::string::npos || start >= lineEnd) return {};
    const std::size_t end = std::min(head.find_first_of(" \t", start), lineEnd);
    return head.substr(start, end - start);
}

// A process whose executable file was replaced under it (an upgrade renames
// a new file over the old one) runs a file that no folder holds any more:
// the kernel names it "<path> (deleted)". It still stands for the program at
// that path, so the answer is that path and the file there now; nothing when
// the process's file is still linked somewhere or nothing took its place.
std::optional<std::pair<std::string, FileIdentity>> replacementOfDeletedProgram(
    const std::string& processFolder, const std::string& executable) {
    static constexpr std::string_view kDeleted = " (deleted)";
    if (executable.size() <= kDeleted.size() || !executable.ends_with(kDeleted)) {
        return std::nullopt;
    }
    struct stat running {};
    if (::stat((processFolder + "/exe").c_str(), &running) != 0 || running.st_nlink != 0) {
        return std::nullopt;
    }
    std::string path = executable.substr(0, executable.size() - kDeleted.size());
    const auto now = identityOf(path);
    if (!now) return std::nullopt;
    return std::make_pair(std::move(path), *now);
}

// The program a process runs: its executable file or, when that is an
// interpreter started for a script, the script. A script counts only when the
// process's executable is the very interpreter the script's "#!" line names
// and the script is the first argument after the interpreter's own options;
// a script merely named on a command line ("less script", "tail -f script")
// is not being run. `identity` is the file the answer stands for.
std::vector<std::pair<std::string, FileIdentity>> programsOfProcess(
    const std::string& processFolder) {
    std::vector<std::pair<std::string, FileIdentity>> programs;
    auto executable = readLink(processFolder + "/exe");
    const auto executableIdentity = identityOf(processFolder + "/exe");
    if (!executable || !executableIdentity) return programs;
    if (auto replacement = replacementOfDeletedProgram(processFolder, *executable)) {
        programs.push_back(std::move(*replacement));
        return programs;
    }
    programs.emplace_back(*executable, *executableIdentity);
    const std::string commandLine = readSmallFile(processFolder + "/cmdline", 16384);
    std::vector<std::string> arguments;
    for (std::size_t start = 0; start < commandLine.size() && arguments.size() < 16;) {
        std::size_t end = commandLine.find('\0', start);
        if (end == std::string::npos) end = commandLine.size();
        arguments.push_back(commandLine.substr(start, end - start));
        start = end + 1;
    }
    std::size_t i = 1;
    while (i < arguments.size() && !arguments[i].empty() && arguments[i][0] == '-') ++i;
    if (i >= arguments.size() || arguments[i].empty() || arguments[i][0] != '/') return programs;
    const std::string& script = arguments[i];
    const std::string interpreter = interpreterOfScript(script);
    if (interpreter.empty() || interpreter[0] != '/' ||
        identityOf(interpreter) != executableIdentity) {
        return programs;
    }
    if (auto scriptIdentity = identityOf(script)) programs.emplace_back(script, *scriptIdentity);
    return programs;
}

// The parent's process id from "<folder>/stat"; 0 when it cannot be read.
long long parentProcessId(const std::string& processFolder) {
    const std::string stat = readSmallFile(processFolder + "/stat", 4096);
    // "pid (name) state ppid ...": the name may hold anything, even ")".
    const std::size_t close = stat.rfind(')');
    if (close == std::string::npos || close + 4 >= stat.size()) return 0;
    return std::strtoll(stat.c_str() + close + 4, nullptr, 10);
}

// Runs in the forked child only: nothing here may allocate or take a lock.
[[noreturn]] void execDetached(const char* program, char* const* argv, int errorPipe) {
    const pid_t grandchild = ::fork();
    if (grandchild != 0) {
        // The middle process ends at once, so the program is adopted by init
        // and our waitpid below returns straight away.
        if (grandchild < 0) {
            const int error = errno;
            (void)!::write(errorPipe, &error, sizeof error);
        }
        ::_exit(0);
    }
    ::setsid();
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    for (int sig = 1; sig < NSIG; ++sig) {
        if (sig != SIGKILL && sig != SIGSTOP) ::signal(sig, SIG_DFL);
    }
    (void)!::chdir("/");
    const int input = ::open("/dev/null", O_RDONLY);
    if (input > 0) {
        ::dup2(input, STDIN_FILENO);
        ::close(input);
    }
    // Descriptors opened by other threads without close-on-exec must not
    // reach the program.
    if (::close_range(3, ~0U, CLOSE_RANGE_CLOEXEC) != 0) {
        struct rlimit limit {};
        rlim_t last = 4096;
        if (::getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY) {
            last = std::min<rlim_t>(limit.rlim_cur, 65536);
        }
        for (int fd = 3; fd < static_cast<int>(last); ++fd) ::fcntl(fd, F_SETFD, FD_CLOEXEC);
    }
    ::execve(program, argv, environ);
    const int error = errno;
    (void)!::write(errorPipe, &error, sizeof error);
    ::_exit(127);
}

bool spawnDetached(const std::string& program, const std::vector<std::string>& arguments) {
    std::vector<std::string> strings{program};
    strings.insert(strings.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& s : strings) argv.push_back(s.data());
    argv.push_back(nullptr);

    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) return false;
    const UniqueFd errorReader(ends[0]);
    UniqueFd errorWriter(ends[1]);
    const pid_t child = ::fork();
    if (child < 0) return false;
    if (child == 0) {
        // The child leaves through exec or _exit, never through the owners'
        // destructors, so its copy of the reading end is closed by hand.
        ::close(errorReader.get());
        execDetached(program.c_str(), argv.data(), errorWriter.get());
    }
    errorWriter.reset();
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    // The pipe reaches end of file when the program has been executed (its
    // end closes on exec); an error number arrives when that failed.
    int error = 0;
    ssize_t got;
    do {
        got = ::read(errorReader.get(), &error, sizeof error);
    } while (got < 0 && errno == EINTR);
    return got == 0;
}

std::string executableOfBundle(const std::string& path, const BundleTrust& trust) {
    const auto executable = trust.trustedExecutableOfBundle(path);
    if (!executable || ::access(executable->c_str(), X_OK) != 0) return {};
    return *executable;
}

}  // namespace

std::vector<RunningApplication> runningApplicationsWithBundleIdentifier(
    const std::string& bundleId) {
    return runningApplicationsWithBundleIdentifier(bundleId, "/proc", ::getuid());
}

std::vector<RunningApplication> runningApplicationsWithBundleIdentifier(
    const std::string& bundleId, const std::string& procFolder, uid_t uid) {
    std::vector<std::pair<long long, std::string>> processes;
    {
        if (bundleId.empty()) return {};
        // A scan cut short by a read error keeps the processes it saw.
        DirectoryLister::forEachEntry(procFolder, [&](std::string_view entry) {
            const std::string name(entry);
            if (isAllDigits(name) && name.size() < 10)
                processes.emplace_back(std::stoll(name), name);
            return true;
        });
    }
    std::sort(processes.begin(), processes.end());

    std::vector<RunningApplication> applications;
    std::vector<long long> parents;
    // Many processes run the same program; look at each bundle once.
    std::map<std::string, std::shared_ptr<Bundle>> bundles;
    for (const auto& [pid, name] : processes) {
        const std::string folder = procFolder + "/" + name;
        struct stat info {};
        if (::stat(folder.c_str(), &info) != 0 || info.st_uid != uid) continue;
        for (const auto& [program, identity] : programsOfProcess(folder)) {
            auto [it, isNew] = bundles.try_emplace(program);
            if (isNew) it->second = Bundle::mainBundleForExecutable(program);
            const auto& bundle = it->second;
            if (!bundle || bundle->bundleIdentifier() != bundleId) continue;
            // The bundle must name this very file as its executable, not
            // merely hold it.
            if (identityOf(bundle->executablePath()) != identity) continue;
            applications.push_back(
                RunningApplication{static_cast<pid_t>(pid), bundle->path(), program});
            parents.push_back(parentProcessId(folder));
            break;
        }
    }
    // A process forked by an application (and not yet running anything else)
    // is part of that application, not another copy of it.
    std::vector<RunningApplication> copies;
    for (std::size_t i = 0; i < applications.size(); ++i) {
        const bool forkedByCopy = std::any_of(
            applications.begin(), applications.end(), [&](const RunningApplication& other) {
                return other.processIdentifier == parents[i] &&
                       other.executableURL == applications[i].executableURL;
            });
        if (!forkedByCopy) copies.push_back(applications[i]);
    }
    return copies;
}

std::string executableForApplication(const std::string& application, const BundleTrust& trust) {
    if (application.empty()) return {};
    if (application.find('/') == std::string::npos) {
        for (const std::string& folder : LaunchServices::applicationFolders()) {
            for (const std::string& name : {application, application + ".app"}) {
                const std::string path = PathUtils::stringByAppendingPathComponent(folder, name);
                if (std::string executable = executableOfBundle(path, trust); !executable.empty()) {
                    return executable;
                }
            }
        }
        return {};
    }
    struct stat info {};
    if (::stat(application.c_str(), &info) != 0) return {};
    if (S_ISDIR(info.st_mode)) return executableOfBundle(application, trust);
    if (!S_ISREG(info.st_mode)) return {};
    const auto program = trust.trustedProgram(application);
    if (!program || ::access(program->c_str(), X_OK) != 0) return {};
    return *program;
}

bool openFile(const std::string& path, const std::string& application, const BundleTrust& trust) {
    const std::string executable = executableForApplication(application, trust);
    if (executable.empty()) return false;
    std::vector<std::string> arguments;
    if (!path.empty()) arguments.push_back(path);
    return spawnDetached(executable, arguments);
}

}  // namespace platform::Workspace
