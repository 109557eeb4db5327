#include <gtest/gtest.h>

#include <future>

#include "app/AppDelegate.h"
#include "dispatch/ManualMainQueue.h"
#include "dispatch/SerialQueue.h"
#include "messages/FileMessage.h"
#include "platform/Bundle.h"
#include "platform/FileResources.h"
#include "support/TempDir.h"

namespace {

using namespace std::chrono_literals;
using Names = std::vector<std::string>;

class AppDelegateTest : public ::testing::Test, public NotificationPresenter {
protected:
    AppDelegateTest() : m_scope(m_queue) {
        m_home.makeDir(".Trash");
        m_home.makeDir("Helper.app/Contents");
        AppDelegate::Environment environment;
        // The fixture outlives the delegate; the handle only lends it.
        environment.createNotificationPresenter = [this] {
            m_steps.push_back("presenter");
            return std::shared_ptr<NotificationPresenter>(this, [](NotificationPresenter*) {});
        };
        environment.startUpdateRestarter = [this] {
            m_steps.push_back(delegate->trashWatcher() ? "restarter after the watcher"
                                                       : "restarter");
        };
        environment.trashDirectory = m_home / ".Trash";
        environment.ownBundlePath = [this] { return m_ownBundle; };
        environment.commandFileQueue = m_commandFiles;
        delegate = std::make_shared<AppDelegate>(std::move(environment));
        delegate->applicationDidFinishLaunching();
        m_messages.messageFolder = m_home / "messages";
    }
    void showNotificationForApp(const std::shared_ptr<platform::Bundle>& bundle) override {
        m_shown.push_back(bundle->path());
    }

    // Whether the arrival of a bundle (relative to the home) is shown.
    bool shown(const std::string& relative) {
        m_shown.clear();
        delegate->onAppMovedToTrash(
            std::make_shared<platform::Bundle>(m_home / relative, platform::PlistDictionary{}));
        return m_shown.size() == 1;
    }
    // Opens command files and waits until their commands are applied.
    void open(const Names& paths) {
        delegate->openFiles(paths);
        m_commandFiles->sync([] {});
        m_queue->runUntilIdle();
    }
    std::string exclude(const Names& paths) {
        return *FileMessage::CreateMessageForHelperToExcludeRemovedPaths(paths, m_messages)
                    ->saveToFile();
    }
    std::string clear() {
        return *FileMessage::CreateMessageForHelperToCancelExcludeRemovedPaths(m_messages)
                    ->saveToFile();
    }
    Names prefixes() const {
        Names out;
        for (const auto& excluder : delegate->excluders()) out.push_back(excluder->prefix());
        return out;
    }

    std::shared_ptr<dispatch::SerialQueue> m_commandFiles =
        std::make_shared<dispatch::SerialQueue>("test-command-files");
    std::shared_ptr<dispatch::ManualMainQueue> m_queue =
        std::make_shared<dispatch::ManualMainQueue>();
    dispatch::ScopedMainQueue m_scope;
    testsupport::TempDir m_home;
    MessageEnvironment m_messages;
    Names m_shown;
    std::optional<std::string> m_ownBundle = m_home / "Helper.app";
    Names m_steps;
    std::shared_ptr<AppDelegate> delegate;
};

TEST_F(AppDelegateTest, ExclusionsArePrefixesOfTheNameInsideTheTrash) {
    // The update restarter starts before the Trash is watched: an update
    // under way is noticed before any application in the Trash is.
    EXPECT_EQ(m_steps, (Names{"presenter", "restarter"}));
    EXPECT_TRUE(delegate->trashWatcher());

    const std::string command = exclude({"/Applications/Foo.app", ""});
    open({command, exclude({}), command});  // the second copy finds nothing left
    EXPECT_FALSE(platform::fileExistsAtPath(command));
    ASSERT_EQ(prefixes(), (Names{"Foo", ""}));

    for (const auto& [relative, notified] : std::vector<std::pair<std::string, bool>>{
             {".Trash/Foo.app", false},
             {".Trash/Foo Bar.app", false},
             {".Trash/Foobar.app", false},
             {".Trash/foo.app", true},           // case matters
             {".Trash/Folder/Foo.app", true},    // the prefix is tested on "Folder/Foo.app"
             {"Volume/.Trashes/Foo.app", true},  // another Trash is never excluded
             {".Trash/Other.app", true}}) {
        EXPECT_EQ(shown(relative), notified) << relative;
    }
    // With its own bundle gone the Helper is being replaced: it says nothing.
    m_ownBundle = m_home / "Gone.app";
    EXPECT_FALSE(shown(".Trash/Other.app"));
    m_ownBundle.reset();
    EXPECT_FALSE(shown(".Trash/Other.app"));
}

TEST_F(AppDelegateTest, ClearRemovesOnlyWhatExistedWhenItArrivedAndOnlyFiveSecondsLater) {
    open({exclude({"/A.app", "/B.app"})});
    open({clear()});
    m_queue->advance(2s);
    open({exclude({"/C.app"})});
    open({clear()});
    m_queue->advance(2s);
    open({exclude({"/D.app"})});

    // The first clear is due at 5 s: until then arrivals are still silenced.
    m_queue->advance(999ms);
    EXPECT_EQ(prefixes(), (Names{"A", "B", "C", "D"}));
    EXPECT_FALSE(shown(".Trash/A.app"));
    m_queue->advance(1ms);
    EXPECT_EQ(prefixes(), (Names{"C", "D"}));
    EXPECT_TRUE(shown(".Trash/A.app"));
    m_queue->advance(2s);  // the second clear had its own snapshot: A, B, C
    EXPECT_EQ(prefixes(), Names{"D"});

    // A clear of nothing spares what arrives after it, duplicates included.
    m_queue->advance(10s);
    open({clear()});
    m_queue->advance(10s);
    open({clear()});
    open({exclude({"/E.app", "/E.app"})});
    m_queue->advance(10s);
    EXPECT_EQ(prefixes(), (Names{"E", "E"}));
}

// Reading is the command-file queue's work, so the window never waits on a
// file; files that arrive together are applied in their order all the same.
TEST_F(AppDelegateTest, CommandFilesAreReadOffTheMainThreadAndAppliedInArrivalOrder) {
    Names files, expected;
    for (int i = 0; i < 20; ++i) {
        files.push_back(exclude({"/" + std::to_string(i) + ".app"}));
        expected.push_back(std::to_string(i));
        if (i == 9) files.push_back(clear());  // takes 0 to 9 only, 5 s after it arrived
    }
    std::promise<void> release;
    m_commandFiles->async([gate = release.get_future().share()] { gate.wait(); });
    delegate->openFiles(files);
    m_queue->runUntilIdle();
    EXPECT_TRUE(platform::fileExistsAtPath(files.front()));  // not read on this thread
    EXPECT_TRUE(prefixes().empty());

    m_queue->advance(4s);  // the read is late, the clear still counts from the arrival
    release.set_value();
    m_commandFiles->sync([] {});
    m_queue->runUntilIdle();
    for (const auto& file : files) EXPECT_FALSE(platform::fileExistsAtPath(file)) << file;
    EXPECT_EQ(prefixes(), expected);
    m_queue->advance(1s);
    EXPECT_EQ(prefixes(), Names(expected.begin() + 10, expected.end()));
}

}  // namespace
