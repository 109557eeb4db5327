#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <functional>

#include "platform/KernelEventQueue.h"
#include "support/TempDir.h"

using namespace std::chrono_literals;
using namespace platform;
using testsupport::TempDir;

namespace {

// Changes are queued by the kernel before the changing call returns, so one
// wait after them sees them all, merged.
struct Watch {
    std::shared_ptr<KernelEventQueue> queue = KernelEventQueue::create();
    std::shared_ptr<int> token = std::make_shared<int>(0);
};

void append(const std::string& path) {
    std::ofstream(path, std::ios::app) << "more";
}

TEST(KernelEventQueue, EachChangeMapsToItsKinds) {
    struct Case {
        const char* what;
        const char* watched;
        std::function<void(const TempDir&)> change;
        std::uint32_t expected;
    };
    const std::vector<Case> cases = {
        {"file created in folder", "w", [](auto& d) { d.writeFile("w/new"); }, kNoteWrite},
        {"folder created in folder", "w", [](auto& d) { d.makeDir("w/newdir"); },
         kNoteWrite | kNoteLink},
        {"folder removed from folder", "w", [](auto& d) { ::rmdir((d / "w/sub").c_str()); },
         kNoteWrite | kNoteLink},
        {"entry renamed in folder", "w",
         [](auto& d) { std::rename((d / "w/file").c_str(), (d / "w/file2").c_str()); }, kNoteWrite},
        {"folder moved in from outside", "w",
         [](auto& d) { std::rename((d / "outside").c_str(), (d / "w/outside").c_str()); },
         kNoteWrite | kNoteLink},
        {"entry's contents changed", "w", [](auto& d) { append(d / "w/file"); }, 0},
        {"folder's mode changed", "w", [](auto& d) { ::chmod((d / "w").c_str(), 0750); },
         kNoteAttrib},
        {"folder renamed", "w", [](auto& d) { std::rename((d / "w").c_str(), (d / "w2").c_str()); },
         kNoteRename},
        {"folder emptied and removed", "w",
         [](auto& d) {
             ::unlink((d / "w/file").c_str());
             ::rmdir((d / "w/sub").c_str());
             ::rmdir((d / "w").c_str());
         },
         kNoteWrite | kNoteLink | kNoteDelete},
        {"file appended to", "w/file", [](auto& d) { append(d / "w/file"); },
         kNoteWrite | kNoteExtend},
        {"file's mode changed", "w/file", [](auto& d) { ::chmod((d / "w/file").c_str(), 0600); },
         kNoteAttrib},
        {"file renamed", "w/file",
         [](auto& d) { std::rename((d / "w/file").c_str(), (d / "w/moved").c_str()); },
         kNoteRename},
        {"file deleted", "w/file", [](auto& d) { ::unlink((d / "w/file").c_str()); },
         kNoteAttrib | kNoteDelete},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        TempDir dir;
        dir.writeFile("w/file", "x");
        dir.makeDir("w/sub");
        dir.makeDir("outside");
        Watch watch;
        ASSERT_TRUE(watch.queue);
        const int registration = watch.queue->open(dir / c.watched);
        ASSERT_GE(registration, 0);
        ASSERT_TRUE(watch.queue->subscribe(registration, kNoteAll, watch.token));
        c.change(dir);
        const auto events = watch.queue->wait(c.expected ? 1000ms : 100ms);
        if (c.expected == 0) {
            EXPECT_TRUE(events.empty());
            continue;
        }
        ASSERT_EQ(events.size(), 1u);
        EXPECT_EQ(events[0].fflags, c.expected);
        EXPECT_EQ(events[0].userData.lock(), watch.token);
    }
}

TEST(KernelEventQueue, RegistrationsOfOneItemFilterOnTheirOwnAndMergeInOrder) {
    TempDir dir;
    dir.makeDir("a");
    dir.makeDir("b");
    dir.makeSymlink("link-to-a", dir / "a");
    Watch watch;
    auto writes = std::make_shared<int>(1), attributes = std::make_shared<int>(2),
         other = std::make_shared<int>(3);
    const int viaPath = watch.queue->open(dir / "a");
    const int viaLink = watch.queue->open(dir / "link-to-a");
    const int onB = watch.queue->open(dir / "b");
    ASSERT_TRUE(viaPath >= 0 && viaLink >= 0 && onB >= 0);
    watch.queue->subscribe(viaPath, kNoteWrite, writes);
    watch.queue->subscribe(viaLink, kNoteAttrib, attributes);
    watch.queue->subscribe(onB, kNoteAll, other);

    dir.writeFile("b/first");  // b changes first, so it comes first
    dir.writeFile("a/one");
    ::chmod((dir / "a").c_str(), 0750);
    dir.writeFile("a/two");
    auto events = watch.queue->wait(1s);
    ASSERT_EQ(events.size(), 3u);
    EXPECT_EQ(events[0].userData.lock(), other);
    EXPECT_EQ(events[1].userData.lock(), writes);
    EXPECT_EQ(events[1].fflags, kNoteWrite);
    EXPECT_EQ(events[2].userData.lock(), attributes);
    EXPECT_EQ(events[2].fflags, kNoteAttrib);

    // Closing one registration of the item leaves the other reporting.
    watch.queue->close(viaPath);
    ::chmod((dir / "a").c_str(), 0700);
    dir.writeFile("a/three");
    events = watch.queue->wait(1s);
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].userData.lock(), attributes);
}

}  // namespace
