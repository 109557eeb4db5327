#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>

#include "dispatch/ManualMainQueue.h"
#include "platform/NotificationCenter.h"
#include "support/SampleBundle.h"
#include "watching/UpdateRestarter.h"
#include "watching/WatchingTestSupport.h"

using namespace std::chrono_literals;
using testsupport::TempDir;
namespace fs = std::filesystem;

namespace {

// An update that renames the bundle away and puts a new copy in its place:
// the path is there, so the application goes on; the old bundle's later
// events repeat the test, which ends it once the path is empty.
TEST(UpdateRestarter, ABundleReplacedInPlaceKeepsTheApplicationUntilThePathEmpties) {
    TempDir dir;
    const std::string bundle = testsupport::makeBundle(dir, "Helper.app");
    const std::string old = dir / "Old.app";
    testsupport::makeBundle(dir, "New.app");
    watchingtest::RealMainLoop loop;
    // Through the application's terminate hook, as the agent installs it.
    int terminations = 0;
    UpdateRestarter::setApplicationTerminate([&] { ++terminations; });
    struct Uninstall {
        ~Uninstall() { UpdateRestarter::setApplicationTerminate(nullptr); }
    } uninstall;
    auto restarter = UpdateRestarter::create(bundle);
    FileEventQueue& queue = *restarter->getFileEventQueue();
    queue.setAlwaysPostNotifications(true);  // lets the test see each delivery
    std::vector<std::string> names;
    auto& center = platform::NotificationCenter::workspaceCenter();
    const auto token = center.addObserverForName(
        "", &queue, [&](const platform::Notification& note) { names.push_back(note.name); });
    const auto deliveredAgain = [&] {
        const std::size_t before = names.size();
        return loop->runUntil([&] { return names.size() > before; }, testsupport::kPatience);
    };

    ASSERT_EQ(std::rename(bundle.c_str(), old.c_str()), 0);
    ASSERT_EQ(std::rename((dir / "New.app").c_str(), bundle.c_str()), 0);
    ASSERT_TRUE(deliveredAgain());
    EXPECT_EQ(names.front(), FileEventQueueFileRenamedNotification);
    EXPECT_EQ(terminations, 0);

    fs::permissions(old, fs::perms::owner_all);  // the old bundle, where it went
    ASSERT_TRUE(deliveredAgain());
    EXPECT_EQ(terminations, 0);

    fs::remove_all(bundle);
    fs::permissions(old, fs::perms::owner_read | fs::perms::owner_exec);
    EXPECT_TRUE(loop->runUntil([&] { return terminations > 0; }, testsupport::kPatience));
    center.removeObserver(token);
}

// An upgrade writes the new executable beside the old one and renames it over
// it: only that rename hands over, once, and never ends the application
// through the terminate path. Other files coming and going in the folder, or
// the executable written in place, change nothing.
TEST(UpdateRestarter, AnExecutableReplacedByRenameHandsOverOnce) {
    TempDir dir;
    const std::string bundle = testsupport::makeBundle(dir, "Helper.app");
    const std::string executable = dir.writeFile("Helper.app/Contents/MacOS/Helper", "old");
    const std::string beside = executable + ".dpkg-new";
    watchingtest::RealMainLoop loop;
    int terminations = 0, handOvers = 0;
    auto restarter = UpdateRestarter::create(
        bundle, [&] { ++terminations; }, executable, [&] { ++handOvers; });
    FileEventQueue& queue = *restarter->getFileEventQueue();
    queue.setAlwaysPostNotifications(true);  // lets the test see each delivery
    std::size_t deliveries = 0;
    auto& center = platform::NotificationCenter::workspaceCenter();
    const auto token =
        center.addObserverForName("", &queue, [&](const platform::Notification&) { ++deliveries; });

    struct Step {
        const char* what;
        std::function<void()> change;
        int handOvers;
    };
    const std::vector<Step> steps = {
        {"another file written beside it, the executable written in place",
         [&] {
             dir.writeFile("Helper.app/Contents/MacOS/Other");
             std::ofstream(executable, std::ios::app) << "more";
             ::unlink((dir / "Helper.app/Contents/MacOS/Other").c_str());
         },
         0},
        {"the new one written beside it",
         [&] { dir.writeFile("Helper.app/Contents/MacOS/Helper.dpkg-new", "new"); }, 0},
        {"renamed over it", [&] { ASSERT_EQ(std::rename(beside.c_str(), executable.c_str()), 0); },
         1},
        {"replaced once more",
         [&] {
             dir.writeFile("Helper.app/Contents/MacOS/Helper.dpkg-new", "newer");
             ASSERT_EQ(std::rename(beside.c_str(), executable.c_str()), 0);
         },
         1},
    };
    for (const Step& step : steps) {
        SCOPED_TRACE(step.what);
        const std::size_t before = deliveries;
        step.change();
        ASSERT_TRUE(loop->runUntil([&] { return deliveries > before; }, testsupport::kPatience));
        // Past the hand-over's delay, every hand-over that was coming has come.
        bool settled = false;
        loop->after(UpdateRestarter::kHandOverDelay + 100ms, [&] { settled = true; });
        ASSERT_TRUE(loop->runUntil([&] { return settled; }, testsupport::kPatience));
        EXPECT_EQ(handOvers, step.handOvers);
    }
    EXPECT_EQ(terminations, 0);
    center.removeObserver(token);
}

}  // namespace
