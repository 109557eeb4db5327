#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "dispatch/RunLoopMainQueue.h"
#include "support/TempDir.h"
#include "platform/FileWatcher.h"
#include "watching/FileEventQueue.h"

namespace watchingtest {

// Whether every watch has been ended: the one watcher then hands no block to
// a main queue any more.
inline bool noWatchLeft() {
    return platform::FileWatcher::shared().numberOfWatches() == 0;
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
