#pragma once

#include <sys/stat.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <thread>

#include "dispatch/ManualMainQueue.h"
#include "platform/PropertyList.h"
#include "support/SampleBundle.h"
#include "support/TempDir.h"

namespace remainstest {

// Workers run on real threads while the main queue is driven by hand: runs
// the main queue until `done` holds, with a deadline instead of fixed sleeps.
// `step` moves the virtual clock on at each turn (idle workers look again
// after a second of it).
inline bool pumpUntil(dispatch::ManualMainQueue& queue, const std::function<bool()>& done,
                      dispatch::Duration step = dispatch::Duration::zero()) {
    const auto deadline = std::chrono::steady_clock::now() + testsupport::kPatience;
    while (std::chrono::steady_clock::now() < deadline) {
        queue.advance(step);
        queue.runUntilIdle();
        if (done()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return done();
}

// An application bundle at dir/relative with the given identifier and
// executable name (nullopt: the key is left out).
inline std::string makeApp(const testsupport::TempDir& dir, const std::string& relative,
                           const std::optional<std::string>& id,
                           const std::optional<std::string>& executable = std::nullopt) {
    platform::PlistDictionary info;
    if (id) info["CFBundleIdentifier"] = *id;
    if (executable) info["CFBundleExecutable"] = *executable;
    testsupport::makeBundle(dir, relative, info);
    dir.writeFile(relative + "/Contents/MacOS/" + executable.value_or("app"),
                  std::string(9000, 'b'));
    return dir / relative;
}

// The size the calculator should find, worked out with the standard library:
// 0 for nothing (or a dangling link), the entry's own blocks for anything but
// a folder, and for a folder (or a link to one) the blocks of everything below
// it that is not a folder.
inline std::uint64_t expectedSize(const std::string& path) {
    const auto blocks = [](const std::string& entry) -> std::uint64_t {
        struct stat info {};
        if (::lstat(entry.c_str(), &info) != 0 || S_ISDIR(info.st_mode)) return 0;
        return static_cast<std::uint64_t>(info.st_blocks) * 512;
    };
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0) return 0;
    if (!S_ISDIR(info.st_mode)) return blocks(path);
    std::uint64_t total = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(path)) {
        total += blocks(entry.path());
    }
    return total;
}

}  // namespace remainstest
