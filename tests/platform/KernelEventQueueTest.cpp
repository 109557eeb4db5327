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

std::vector<std::string> words(const std::string& text) {
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

// Carries out one step of a change: "touch", "mkdir", "rmdir", "unlink",
// "append", "chmod" on a path, "rename" from one to another.
void carryOut(const TempDir& dir, const std::string& step) {
    const auto word = words(step);
    const std::string path = dir / word.at(1);
    if (word[0] == "touch") dir.writeFile(word[1]);
    if (word[0] == "mkdir") dir.makeDir(word[1]);
    if (word[0] == "rmdir") ::rmdir(path.c_str());
    if (word[0] == "unlink") ::unlink(path.c_str());
    if (word[0] == "append") std::ofstream(path, std::ios::app) << "more";
    if (word[0] == "chmod") ::chmod(path.c_str(), 0750);
    if (word[0] == "rename") std::rename(path.c_str(), (dir / word.at(2)).c_str());
}

TEST(KernelEventQueue, EachChangeMapsToItsKinds) {
    const std::map<std::string, std::uint32_t> kinds = {{"write", kNoteWrite},
                                                        {"link", kNoteLink},
                                                        {"attrib", kNoteAttrib},
                                                        {"rename", kNoteRename},
                                                        {"delete", kNoteDelete},
                                                        {"extend", kNoteExtend},
                                                        {"none", 0}};
    for (const auto& row : testsupport::readDataTable("KernelEventQueue/changes.tsv")) {
        ASSERT_EQ(row.size(), 4u);
        SCOPED_TRACE(row[0]);
        std::uint32_t expected = 0;
        for (const std::string& kind : words(row[3])) expected |= kinds.at(kind);
        TempDir dir;
        dir.writeFile("w/file", "x");
        dir.makeDir("w/sub");
        dir.makeDir("outside");
        Watch watch;
        ASSERT_TRUE(watch.queue);
        const int registration = watch.queue->open(dir / row[1]);
        ASSERT_GE(registration, 0);
        ASSERT_TRUE(watch.queue->subscribe(registration, kNoteAll, watch.token));
        std::istringstream steps(row[2]);
        for (std::string step; std::getline(steps, step, ';');) carryOut(dir, step);
        const auto events = watch.queue->wait(expected ? 1000ms : 100ms);
        if (expected == 0) {
            EXPECT_TRUE(events.empty());
            continue;
        }
        ASSERT_EQ(events.size(), 1u);
        EXPECT_EQ(events[0].fflags, expected);
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
