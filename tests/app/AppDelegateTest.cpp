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
using testsupport::TempDir;

class RecordingPresenter : public NotificationPresenter {
public:
    void showNotificationForApp(const std::shared_ptr<platform::Bundle>& bundle) override {
        shown.push_back(bundle->path());
    }
    std::vector<std::string> shown;
};

class AppDelegateTest : public ::testing::Test {
protected:
    AppDelegateTest() : m_scope(m_queue) {
        m_home.makeDir(".Trash");
        m_home.makeDir("Helper.app/Contents");
        AppDelegate::Environment environment;
        environment.createNotificationPresenter = [this] {
            m_arrSteps.push_back("presenter");
            return m_presenter;
        };
        environment.startUpdateRestarter = [this] {
            m_arrSteps.push_back(delegate->trashWatcher() ? "restarter after the watcher"
                                                          : "restarter");
        };
        environment.trashDirectory = m_home / ".Trash";
        environment.ownBundlePath = [this] { return m_ownBundle; };
        environment.commandFileQueue = m_commandFiles;
        delegate = std::make_shared<AppDelegate>(std::move(environment));
        delegate->applicationDidFinishLaunching();
        m_messages.messageFolder = m_home / "messages";
    }

    // Arrival of an application bundle at a path relative to the home folder.
    std::vector<std::string> arrive(const std::string& relative) {
        m_presenter->shown.clear();
        delegate->onAppMovedToTrash(
            std::make_shared<platform::Bundle>(m_home / relative, platform::PlistDictionary{}));
        return m_presenter->shown;
    }

    // Opens command files and waits until their commands are applied.
    void open(const std::vector<std::string>& paths) {
        delegate->openFiles(paths);
        m_commandFiles->sync([] {});
        m_queue->runUntilIdle();
    }

    std::string exclude(const std::vector<std::string>& paths) {
        return *FileMessage::CreateMessageForHelperToExcludeRemovedPaths(paths, m_messages)
                    ->saveToFile();
    }
    std::string clear() {
        return *FileMessage::CreateMessageForHelperToCancelExcludeRemovedPaths(m_messages)
                    ->saveToFile();
    }
    std::vector<std::string> prefixes() const {
        std::vector<std::string> out;
        for (const auto& excluder : delegate->excluders()) out.push_back(excluder->prefix());
        return out;
    }

    std::shared_ptr<dispatch::SerialQueue> m_commandFiles =
        std::make_shared<dispatch::SerialQueue>("test-command-files");
    std::shared_ptr<dispatch::ManualMainQueue> m_queue =
        std::make_shared<dispatch::ManualMainQueue>();
    dispatch::ScopedMainQueue m_scope;
    TempDir m_home;
    MessageEnvironment m_messages;
    std::shared_ptr<RecordingPresenter> m_presenter = std::make_shared<RecordingPresenter>();
    std::optional<std::string> m_ownBundle = m_home / "Helper.app";
    std::vector<std::string> m_arrSteps;
    std::shared_ptr<AppDelegate> delegate;
};

TEST_F(AppDelegateTest, ExclusionsArePrefixesOfTheNameInsideTheTrash) {
    open({exclude({"/Applications/Foo.app", ""}), exclude({})});
    ASSERT_EQ(prefixes(), (std::vector<std::string>{"Foo", ""}));

    const std::vector<std::pair<std::string, bool>> arrivals = {
        {".Trash/Foo.app", false},         {".Trash/Foo Bar.app", false},
        {".Trash/Foobar.app", false},      {".Trash/foo.app", true},  // case matters
        {".Trash/Folder/Foo.app", true},    // the prefix is tested on "Folder/Foo.app"
        {"Volume/.Trashes/Foo.app", true},  // another Trash is never excluded
        {".Trash/Other.app", true},
    };
    for (const auto& [relative, notified] : arrivals) {
        EXPECT_EQ(arrive(relative).size(), notified ? 1u : 0u) << relative;
    }

    // With its own bundle gone the Helper is being replaced: it says nothing.
    m_ownBundle = m_home / "Gone.app";
    EXPECT_TRUE(arrive(".Trash/Other.app").empty());
    m_ownBundle.reset();
    EXPECT_TRUE(arrive(".Trash/Other.app").empty());
}

TEST_F(AppDelegateTest, CommandFilesAreTakenByExactExtensionAndAlwaysConsumed) {
    const std::string shouting = m_home.writeFile("x.MSGFORSWHELP", "data");
    const std::string unreadable = m_home.writeFile("y.msgforswhelp", "not an archive");
    EXPECT_TRUE(delegate->openFile(shouting));
    EXPECT_TRUE(delegate->openFile(unreadable));
    open({});
    EXPECT_TRUE(platform::fileExistsAtPath(shouting));
    EXPECT_FALSE(platform::fileExistsAtPath(unreadable));

    const std::string command = exclude({"/Applications/Foo.app"});
    open({command, command});  // the second finds nothing left
    EXPECT_FALSE(platform::fileExistsAtPath(command));
    EXPECT_EQ(prefixes(), std::vector<std::string>{"Foo"});
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
    EXPECT_EQ(prefixes(), (std::vector<std::string>{"A", "B", "C", "D"}));
    EXPECT_TRUE(arrive(".Trash/A.app").empty());
    m_queue->advance(1ms);
    EXPECT_EQ(prefixes(), (std::vector<std::string>{"C", "D"}));
    EXPECT_EQ(arrive(".Trash/A.app").size(), 1u);
    m_queue->advance(2s);  // the second clear had its own snapshot: A, B, C
    EXPECT_EQ(prefixes(), std::vector<std::string>{"D"});

    // A clear of nothing spares what arrives after it, duplicates included.
    m_queue->advance(10s);
    open({clear()});
    m_queue->advance(10s);
    open({clear()});
    open({exclude({"/E.app", "/E.app"})});
    m_queue->advance(10s);
    EXPECT_EQ(prefixes(), (std::vector<std::string>{"E", "E"}));
}

// Reading is the command-file queue's work, so the window never waits on a
// file; files that arrive together are applied in their order all the same.
TEST_F(AppDelegateTest, CommandFilesAreReadOffTheMainThreadAndAppliedInArrivalOrder) {
    std::vector<std::string> files, expected;
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
    EXPECT_EQ(prefixes(), std::vector<std::string>(expected.begin() + 10, expected.end()));
}

// The window's controller comes first, then the update restarter, and only
// then the Trash watcher: an update under way is noticed before any
// application in the Trash is.
TEST_F(AppDelegateTest, StartsTheUpdateRestarterBeforeWatchingTheTrash) {
    EXPECT_EQ(m_arrSteps, (std::vector<std::string>{"presenter", "restarter"}));
    EXPECT_TRUE(delegate->trashWatcher());
}

}  // namespace
