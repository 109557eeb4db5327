#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <vector>

#include "platform/NotificationCenter.h"
#include "support/TempDir.h"
#include "watching/FileEventQueue.h"
#include "watching/WatchingTestSupport.h"

using namespace std::chrono_literals;
using testsupport::TempDir;

namespace {

struct Recorder : FileEventQueueDelegate {
    std::vector<std::string>* log;
    explicit Recorder(std::vector<std::string>* target) : log(target) {}
    void receivedNotification(FileEventQueue&, const std::string& name,
                              const std::string& path) override {
        log->push_back("delegate " + name + " " + path);
    }
};

TEST(FileEventQueue, DeliversNamesInOrderToDelegateAndCentre) {
    const std::string renamed = FileEventQueueFileRenamedNotification;
    const std::string deleted = FileEventQueueFileDeletedNotification;
    struct Case {
        bool withDelegate, alwaysPost;
        std::vector<std::string> expected;  // each line ends with the path
    };
    for (const Case& c :
         std::vector<Case>{{true, false, {"delegate " + renamed, "delegate " + deleted}},
                           {true,
                            true,
                            {"delegate " + renamed, "posted " + renamed, "delegate " + deleted,
                             "posted " + deleted}},
                           {false, false, {"posted " + renamed, "posted " + deleted}}}) {
        SCOPED_TRACE(c.expected.front());
        TempDir dir;
        const std::string path = dir.writeFile("file", "x");
        watchingtest::RealMainLoop loop;
        std::vector<std::string> log;
        auto delegate = std::make_shared<Recorder>(&log);
        auto queue = FileEventQueue::create();
        if (c.withDelegate) queue->setDelegate(delegate);
        queue->setAlwaysPostNotifications(c.alwaysPost);
        auto& center = platform::NotificationCenter::workspaceCenter();
        const auto token =
            center.addObserverForName("", queue.get(), [&log](const platform::Notification& n) {
                log.push_back("posted " + n.name + " " + n.userInfo.at(kFileEventQueuePathKey));
            });
        // Rename and delete in one go; whether they arrive in one wake or two,
        // the rename is reported first.
        queue->addPath(path, platform::kNoteRename | platform::kNoteDelete);
        std::rename(path.c_str(), (dir / "moved").c_str());
        ::unlink((dir / "moved").c_str());
        loop->runUntil([&] { return log.size() >= c.expected.size(); }, 5s);
        center.removeObserver(token);
        std::vector<std::string> expected;
        for (const std::string& line : c.expected) expected.push_back(line + " " + path);
        EXPECT_EQ(log, expected);
    }
}

}  // namespace
