#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>

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

}  // namespace
