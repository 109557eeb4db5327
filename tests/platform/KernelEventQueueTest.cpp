#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>

#include "platform/KernelEventQueue.h"
#include "support/DataTable.h"
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
