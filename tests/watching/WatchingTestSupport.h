#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "dispatch/ManualMainQueue.h"
#include "dispatch/RunLoopMainQueue.h"
#include "platform/FileWatcher.h"
#include "support/TempDir.h"
#include "watching/DirectoryWatcher.h"
#include "watching/FileEventQueue.h"

namespace watchingtest {

// Whether every watch has been ended: the one watcher then hands no block to
// a main queue any more.
inline bool noWatchLeft() {
    return platform::FileWatcher::shared().numberOfWatches() == 0;
}

// Runs the virtual-time queue until the watcher's folder searches, which run
// on another thread, have reported back; false if they never do. The clock
// does not move meanwhile.
inline bool searchesEnded(dispatch::ManualMainQueue& queue, const DirectoryWatcher& watcher) {
    const auto deadline = std::chrono::steady_clock::now() + testsupport::kPatience;
    for (;;) {
        queue.runUntilIdle();
        if (watcher.numberOfRunningSearches() == 0) return true;
        if (std::chrono::steady_clock::now() >= deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

// The real-time main queue of a test that uses the kernel. Declared before
// the watchers, it outlives them, and at its end no watch may be left that
// could still hand it a block.
class RealMainLoop {
public:
    RealMainLoop() : scoped(loop) {}
    ~RealMainLoop() { EXPECT_TRUE(noWatchLeft()); }
    dispatch::RunLoopMainQueue* operator->() const { return loop.get(); }

private:
    std::shared_ptr<dispatch::RunLoopMainQueue> loop =
        std::make_shared<dispatch::RunLoopMainQueue>();
    dispatch::ScopedMainQueue scoped;
};

}  // namespace watchingtest
