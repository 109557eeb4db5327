// Replaces readdir and closedir for the whole test program; the real ones
// are reached through the dynamic linker.
#include "support/faults/ReaddirFault.h"

#include <dirent.h>
#include <dlfcn.h>
#include <sys/stat.h>

#include <cerrno>
#include <mutex>
#include <unordered_map>

namespace {

struct Fault {
    std::mutex lock;
    bool armed = false;
    dev_t device = 0;
    ino_t inode = 0;
    std::size_t entriesBefore = 0;
    std::unordered_map<DIR*, std::size_t> readSoFar;
    int failures = 0;
};

Fault& fault() {
    static Fault instance;
    return instance;
}

template <typename Function>
Function next(const char* name) {
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" dirent* readdir(DIR* folder) {
    static const auto real = next<dirent* (*)(DIR*)>("readdir");
    Fault& state = fault();
    {
        std::lock_guard guard(state.lock);
        struct stat info {};
        if (state.armed && ::fstat(::dirfd(folder), &info) == 0 && info.st_dev == state.device &&
            info.st_ino == state.inode) {
            if (state.readSoFar[folder]++ >= state.entriesBefore) {
                ++state.failures;
                errno = EIO;
                return nullptr;
            }
        }
    }
    return real(folder);
}

extern "C" int closedir(DIR* folder) {
    static const auto real = next<int (*)(DIR*)>("closedir");
    {
        std::lock_guard guard(fault().lock);
        fault().readSoFar.erase(folder);
    }
    return real(folder);
}

namespace testsupport {

ReaddirFault::ReaddirFault(const std::string& folder, std::size_t entriesBefore) {
    struct stat info {};
    ::stat(folder.c_str(), &info);
    std::lock_guard guard(fault().lock);
    fault().armed = true;
    fault().device = info.st_dev;
    fault().inode = info.st_ino;
    fault().entriesBefore = entriesBefore;
    fault().readSoFar.clear();
    fault().failures = 0;
}

ReaddirFault::~ReaddirFault() {
    std::lock_guard guard(fault().lock);
    fault().armed = false;
}

int ReaddirFault::failures() const {
    std::lock_guard guard(fault().lock);
    return fault().failures;
}

}  // namespace testsupport
