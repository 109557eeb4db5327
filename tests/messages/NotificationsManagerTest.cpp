#include <gtest/gtest.h>
#include <unistd.h>

#include "messages/MessageTestSupport.h"
#include "messages/NotificationsManager.h"
#include "messages/WatcherMessage.h"
#include "platform/Workspace.h"
#include "support/TempDir.h"

namespace {

using testsupport::SampleApplication;

// The hand-over for real: sample Main applications (scripts that record how
// they were started) installed, running and enclosing the Helper. Each step
// adds a route; the one the order prefers must receive the list.
TEST(NotificationsManager, HandsTheListToThePreferredMainApplication) {
    testsupport::TempDir dir;
    auto environment = testsupport::sampleEnvironment(dir, "HandOver");
    const std::string& mainId = environment.mainAppBundleId;
    const auto installed = SampleApplication::make(dir, "Applications/Main.app", mainId);
    const auto running = SampleApplication::make(dir, "Running/Main.app", mainId);
    const auto enclosing = SampleApplication::make(dir, "Enclosing/Main.app", mainId);
    const std::string loginItem = "/Contents/Library/LoginItems/Helper.app";
    const auto helper = SampleApplication::make(dir, "Enclosing/Main.app" + loginItem, "h");
    const auto strayHelper = SampleApplication::make(dir, "Stray/Other.app" + loginItem, "h");

    std::vector<std::shared_ptr<PathForRemove>> entries = {
        std::make_shared<PathForRemove>("/Users/u/Library/Caches/com.example.Gone", 3, "Gone"),
        std::make_shared<PathForRemove>("/Users/u/Library/Preferences/Gone.plist", 4, "Gone")};
    entries[0]->setSize(4096);

    // A folder that cannot be made: its parent is a file.
    const std::string unwritable = dir.writeFile("not-a-folder") + "/shared";

    struct Step {
        std::optional<std::string> ownBundle;
        bool withRunningCopy;
        const SampleApplication* receiver;
        bool listWritten = true;
    };
    const std::vector<Step> steps = {
        {std::nullopt, false, &installed},
        {strayHelper.bundlePath, false, &installed},  // enclosed by another application
        {std::nullopt, false, &installed, false},     // nothing written, nothing started
        {std::nullopt, true, &running},
        {helper.bundlePath, true, &enclosing},
    };
    std::unique_ptr<testsupport::RunningSample> runningCopy;
    for (std::size_t i = 0; i < steps.size(); ++i) {
        SCOPED_TRACE(i);
        if (steps[i].withRunningCopy && !runningCopy) {
            runningCopy = std::make_unique<testsupport::RunningSample>(running.executablePath);
        }
        environment.ownBundlePath = steps[i].ownBundle;
        environment.messageFolder = steps[i].listWritten ? dir / "shared" : unwritable;
        NotificationsManager(environment).removeFilePaths(entries);
        if (!steps[i].listWritten) {
            // Whatever starts the receiver now comes after anything the
            // hand-over started, so the first record shows which came.
            ASSERT_TRUE(platform::Workspace::openFile("/after", steps[i].receiver->bundlePath,
                                                      environment.trust));
            EXPECT_EQ(steps[i].receiver->waitForRecord().back(), "/after");
            ::unlink(steps[i].receiver->recordPath.c_str());
            continue;
        }

        const auto record = steps[i].receiver->waitForRecord();
        ASSERT_EQ(record.size(), 2u);
        ::unlink(steps[i].receiver->recordPath.c_str());
        WatcherMessage message;
        ASSERT_TRUE(message.loadFromPath(record[1]));
        EXPECT_EQ(testsupport::describe(message.getPathsForRemove()),
                  testsupport::describe(entries));
    }
    for (const auto* app : {&installed, &running, &enclosing}) EXPECT_FALSE(app->wasStarted());
}

// Another user plants a bundle with the Main application's identifier in a
// folder everybody may write, gets its script shown by "tail -f" (and even
// run), lists that folder first and has it enclose our Helper: every route
// must pass it over for the well-kept installed copy.
TEST(NotificationsManager, APlantedMainApplicationIsNeverStarted) {
    testsupport::TempDir dir;
    auto environment = testsupport::sampleEnvironment(dir, "Planted");
    environment.applicationFolders = {dir / "Shared", dir / "Applications"};
    const std::string& mainId = environment.mainAppBundleId;
    const auto installed = SampleApplication::make(dir, "Applications/Main.app", mainId);
    const auto planted = SampleApplication::make(dir, "Shared/Main.app", mainId);
    environment.ownBundlePath =
        SampleApplication::make(dir, "Shared/Main.app/Contents/Library/LoginItems/Helper.app", "h")
            .bundlePath;
    ASSERT_EQ(::chmod((dir / "Shared").c_str(), 0777), 0);

    testsupport::RunningSample reader("/usr/bin/tail", {"-f", planted.executablePath});
    testsupport::RunningSample plantedCopy(planted.executablePath);
    ASSERT_GT(reader.pid(), 0);
    ASSERT_GT(plantedCopy.pid(), 0);

    const NotificationsManager manager(environment);
    EXPECT_EQ(manager.findMainApplication(), installed.bundlePath);
    manager.removeFilePaths({std::make_shared<PathForRemove>("/x", 1, "b")});
    EXPECT_EQ(installed.waitForRecord().size(), 2u);
    EXPECT_FALSE(planted.wasStarted());

    // Nothing else left: nothing is started at all.
    ::rename(installed.bundlePath.c_str(), (dir / "Gone.app").c_str());
    EXPECT_EQ(manager.findMainApplication(), std::nullopt);
    EXPECT_FALSE(platform::Workspace::openFile("", planted.bundlePath, environment.trust));
    EXPECT_FALSE(planted.wasStarted());
}

}  // namespace
