#pragma once

// Bundles made for a test. makeBundle writes only the Info.plist;
// SampleApplication adds an executable, a shell script: started with
// arguments it writes its parent's process id and then the arguments, one
// per line, to "<bundle>.record"; started without, it runs until it is
// killed, standing for a running copy.

#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "platform/BundleTrust.h"
#include "platform/PropertyList.h"
#include "support/TempDir.h"

namespace testsupport {

// The trust rule with its walk stopped at the test's private folder: the
// folders above it (/tmp, world-writable) would refuse every sample.
inline platform::BundleTrust trustInside(const TempDir& dir) {
    return platform::BundleTrust(::getuid(), dir.path());
}

// <relative>/Contents/Info.plist in the text form, holding `info`; the
// bundle's path.
inline std::string makeBundle(const TempDir& dir, const std::string& relative,
                              const platform::PlistDictionary& info = {
                                  {"CFBundleIdentifier", "com.example.app"}}) {
    dir.writeFile(relative + "/Contents/Info.plist", platform::PropertyList::toXml(info));
    return dir / relative;
}

struct SampleApplication {
    std::string bundlePath;
    std::string executablePath;
    std::string recordPath;

    static SampleApplication make(const TempDir& dir, const std::string& relative,
                                  const std::string& bundleId) {
        SampleApplication app{dir / relative, "", dir / relative + ".record"};
        makeBundle(dir, relative,
                   {{"CFBundleIdentifier", bundleId}, {"CFBundleExecutable", "Sample"}});
        app.executablePath = dir.writeFile(
            relative + "/Contents/MacOS/Sample",
            "#!/bin/sh\n[ $# -eq 0 ] && while :; do sleep 1; done\nrecord='" + app.recordPath +
                "'\nprintf '%s\\n' \"$PPID\" \"$@\" > \"$record.$$\" && mv \"$record.$$\" "
                "\"$record\"\n");
        ::chmod(app.executablePath.c_str(), 0755);
        return app;
    }

    bool wasStarted() const { return ::access(recordPath.c_str(), F_OK) == 0; }

    // The record's lines once it appears; empty when it does not in time.
    std::vector<std::string> waitForRecord() const {
        const auto end = std::chrono::steady_clock::now() + kPatience;
        while (!wasStarted() && std::chrono::steady_clock::now() < end) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        std::vector<std::string> lines;
        std::istringstream text(readFile(recordPath));
        for (std::string line; std::getline(text, line);) lines.push_back(line);
        return lines;
    }
};

// A running copy: the executable started with no argument in a process group
// of its own, killed with the group when the object goes. The constructor
// returns once the kernel shows which program the process runs (the command
// line is filled in a moment after the spawn returns).
class RunningSample {
public:
    // Also any other program with arguments ("tail -f <script>").
    explicit RunningSample(const std::string& executable, std::vector<std::string> arguments = {}) {
        posix_spawnattr_t attributes;
        posix_spawnattr_init(&attributes);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
        std::string program = executable;
        std::vector<char*> argv{program.data()};
        for (std::string& argument : arguments) argv.push_back(argument.data());
        argv.push_back(nullptr);
        if (posix_spawn(&m_nPid, program.c_str(), nullptr, &attributes, argv.data(), environ) != 0)
            m_nPid = -1;
        posix_spawnattr_destroy(&attributes);
        const auto end = std::chrono::steady_clock::now() + kPatience;
        while (m_nPid > 0 && std::chrono::steady_clock::now() < end &&
               readFile("/proc/" + std::to_string(m_nPid) + "/cmdline").find(executable) ==
                   std::string::npos) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
    ~RunningSample() {
        if (m_nPid <= 0) return;
        ::kill(-m_nPid, SIGKILL);
        ::waitpid(m_nPid, nullptr, 0);
    }
    RunningSample(const RunningSample&) = delete;
    RunningSample& operator=(const RunningSample&) = delete;

    pid_t pid() const { return m_nPid; }

private:
    pid_t m_nPid = -1;
};

}  // namespace testsupport
