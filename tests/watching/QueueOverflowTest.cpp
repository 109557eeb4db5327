#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <cstdio>
#include <fstream>
#include <future>
#include <set>

#include "dispatch/RunLoopMainQueue.h"
#include "support/SampleBundle.h"
#include "watching/DirectoryWatcher.h"
#include "watching/WatchingTestSupport.h"

using namespace std::chrono_literals;
using testsupport::TempDir;

namespace {

// The real main loop, except that blocks sent from other threads wait at a
// gate until it opens: a watcher thread held there reads nothing more from
// its kernel queue, which then fills up.
class GatedMainQueue final : public dispatch::MainQueue {
public:
    explicit GatedMainQueue(std::shared_ptr<dispatch::RunLoopMainQueue> loop)
        : m_pLoop(std::move(loop)) {}
    ~GatedMainQueue() override { open(); }

    void async(dispatch::Block block) override {
        if (!m_pLoop->isCurrent()) {
            if (!m_bHeld.exchange(true)) m_held.set_value();
            m_open.wait();
        }
        m_pLoop->async(std::move(block));
    }
    dispatch::TimerHandle after(dispatch::Duration delay, dispatch::Block block) override {
        return m_pLoop->after(delay, std::move(block));
    }
    dispatch::TimePoint now() const override { return m_pLoop->now(); }
    bool isCurrent() const override { return m_pLoop->isCurrent(); }

    void open() {
        if (!m_bOpened.exchange(true)) m_opening.set_value();
    }
    bool waitUntilASenderIsHeld(std::chrono::seconds timeout) {
        return m_heldFuture.wait_for(timeout) == std::future_status::ready;
    }

private:
    std::shared_ptr<dispatch::RunLoopMainQueue> m_pLoop;
    std::promise<void> m_held, m_opening;
    std::future<void> m_heldFuture = m_held.get_future();
    std::shared_future<void> m_open = m_opening.get_future().share();
    std::atomic<bool> m_bHeld = false, m_bOpened = false;
};

struct Heard : FileEventQueueDelegate, DirectoryWatcherDelegate {
    std::string trash;
    std::shared_ptr<DirectoryWatcher> trashWatcher;
    std::set<std::pair<std::string, std::string>> events;  // (path, name)
    std::vector<std::string> apps;
    void receivedNotification(FileEventQueue&, const std::string& name,
                              const std::string& path) override {
        events.emplace(path, name);
        if (path == trash) trashWatcher->contentsChanged();
    }
    void onAddedAppWithPath(const std::string& path) override { apps.push_back(path); }
};

// When the kernel drops events for lack of room, every folder watched for
// writes is re-read, so what arrived meanwhile is still found.
TEST(FileEventQueue, AnOverflowingKernelQueueMakesEveryWatchedFolderReRead) {
    long maxQueued = 0;
    if (!(std::ifstream("/proc/sys/fs/inotify/max_queued_events") >> maxQueued) ||
        maxQueued > 1'000'000) {
        GTEST_SKIP() << "the kernel queue's size is unknown or too large to fill";
    }
    TempDir dir;
    const std::string trash = dir.makeDir("Trash");
    const std::string quiet = dir.makeDir("Quiet");
    const std::string churn = dir.makeDir("Churn");
    const std::string blocker = dir.writeFile("blocker");
    dir.writeFile("Churn/a");

    auto loop = std::make_shared<dispatch::RunLoopMainQueue>();
    auto gated = std::make_shared<GatedMainQueue>(loop);
    dispatch::ScopedMainQueue scoped(gated);
    struct Reopen {  // no watcher thread may stay held when the test ends
        GatedMainQueue& gate;
        ~Reopen() {
            gate.open();
            EXPECT_TRUE(watchingtest::noWatchLeft());
        }
    } reopen{*gated};

    auto heard = std::make_shared<Heard>();
    heard->trash = trash;
    // The Trash's tree and quiet period, fed by the queue under test only.
    heard->trashWatcher =
        DirectoryWatcher::create(trash, platform::DirectoryReader::disk(), [] { return nullptr; });
    heard->trashWatcher->setDelegate(heard);
    auto queue = FileEventQueue::create();
    ASSERT_TRUE(queue);
    queue->setDelegate(heard);
    queue->addPath(trash);
    queue->addPath(quiet);
    queue->addPath(churn, platform::kNoteRevoke);  // its changes fill the queue, unreported
    queue->addPath(blocker, platform::kNoteAttrib);

    // Hold the watcher thread in the delivery of one event.
    ASSERT_EQ(::chmod(blocker.c_str(), 0600), 0);
    ASSERT_TRUE(gated->waitUntilASenderIsHeld(testsupport::kPatience));

    // Two events per rename; far more than the queue holds.
    for (long i = 0; i < maxQueued; ++i) {
        const bool there = i % 2 == 0;
        std::rename((churn + (there ? "/a" : "/b")).c_str(),
                    (churn + (there ? "/b" : "/a")).c_str());
    }
    // By now the kernel drops what happens: this arrival is not queued.
    testsupport::makeBundle(dir, "Late.app");
    ASSERT_EQ(std::rename((dir / "Late.app").c_str(), (trash + "/Late.app").c_str()), 0);

    gated->open();
    EXPECT_TRUE(loop->runUntil([&] { return !heard->apps.empty(); }, testsupport::kPatience));
    EXPECT_EQ(heard->apps, std::vector<std::string>{trash + "/Late.app"});
    EXPECT_TRUE(heard->events.count({trash, FileEventQueueFileWrittenToNotification}));
    EXPECT_TRUE(heard->events.count({quiet, FileEventQueueFileWrittenToNotification}));
    for (const auto& [path, name] : heard->events) EXPECT_NE(path, churn) << name;
}

}  // namespace
