#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QEvent>
#include <QGuiApplication>
#include <QPropertyAnimation>
#include <QScreen>
#include <thread>

#include "dispatch/ManualMainQueue.h"
#include "environment/StringUtils.h"
#include "platform/Bundle.h"
#include "support/TempDir.h"
#include "ui/RichNotificationWCLocalizable.h"
#include "ui/qt/CustomButton.h"
#include "ui/qt/MultilineWordWrapTextField.h"
#include "ui/qt/RichNotificationWC.h"
#include "ui/qt/RichNotificationWindow.h"

using namespace std::chrono_literals;

namespace {

std::shared_ptr<platform::Bundle> makeBundle(const std::string& path, const std::string& id) {
    return std::make_shared<platform::Bundle>(
        path, platform::PlistDictionary{{"CFBundleIdentifier", id}});
}

// Remains whose size and entries the test sets.
class FakeRemains final : public RichNotificationWC::RemainsInfo {
public:
    explicit FakeRemains(std::shared_ptr<platform::Bundle> bundle) {
        m_arrBundles.push_back(std::move(bundle));
    }
    void addBundle(const std::shared_ptr<platform::Bundle>& bundle) override {
        m_arrBundles.push_back(bundle);
    }
    std::uint64_t getTotalSize() const override { return m_nTotalSize; }
    void addRemoveObjectPathsToArray(
        std::vector<std::shared_ptr<PathForRemove>>& array) const override {
        for (const auto& bundle : m_arrBundles) {
            array.push_back(std::make_shared<PathForRemove>(bundle->path(), 0, "id"));
        }
    }

    std::vector<std::shared_ptr<platform::Bundle>> m_arrBundles;
    std::uint64_t m_nTotalSize = 0;
};

class RichNotificationWCTest : public ::testing::Test {
protected:
    RichNotificationWCTest() : m_scoped(m_pQueue) {
        RichNotificationWC::Environment environment;
        environment.calculateIsCanShowNotificationForBundleWithID =
            [this](const std::optional<std::string>& bundleId, std::function<void()> okBlock) {
                m_arrAskedIds.push_back(bundleId.value_or("<nil>"));
                if (m_bMayShow) okBlock();
            };
        environment.createRemainsInfo = [this](const std::shared_ptr<platform::Bundle>& bundle,
                                               std::weak_ptr<SimpleRemainsInfoListener>) {
            auto remains = std::make_shared<FakeRemains>(bundle);
            remains->m_nTotalSize = m_nNextSize;
            m_arrCreated.push_back(remains);
            return remains;
        };
        environment.removeFilePaths = [this](const std::vector<std::shared_ptr<PathForRemove>>& p) {
            m_arrHandedOver.push_back(p);
        };
        environment.openURL = [this](const std::string& url) {
            m_arrOpenedURLs.push_back(url);
            return true;
        };
        environment.mainScreenFrame = [this] { return m_screen; };
        environment.texts = std::make_shared<LocalizedStrings>(
            SWEEPWELL_RESOURCES, RichNotificationWCLocalizable::kTableName,
            std::vector<std::string>{"en"});
        environment.mainAppName = "Sweepwell";
        environment.helpURL = "https://example.com/help";
        m_pController = RichNotificationWC::create(std::move(environment));
    }

    // Offers a bundle and runs what that posts to the main queue.
    void offer(const std::shared_ptr<platform::Bundle>& bundle) {
        m_pController->showNotificationForApp(bundle);
        m_pQueue->runUntilIdle();
    }
    std::string subtitle() const { return m_pController->subtitleLabel()->stringValue(); }

    std::shared_ptr<dispatch::ManualMainQueue> m_pQueue =
        std::make_shared<dispatch::ManualMainQueue>();
    dispatch::ScopedMainQueue m_scoped;
    std::shared_ptr<RichNotificationWC> m_pController;

    bool m_bMayShow = true;
    std::uint64_t m_nNextSize = 0;
    std::optional<QRect> m_screen = QRect(0, 0, 1440, 900);
    std::vector<std::string> m_arrAskedIds;
    std::vector<std::shared_ptr<FakeRemains>> m_arrCreated;
    std::vector<std::vector<std::shared_ptr<PathForRemove>>> m_arrHandedOver;
    std::vector<std::string> m_arrOpenedURLs;
};

TEST_F(RichNotificationWCTest, TwoApplicationsInARowShareOneNotification) {
    m_nNextSize = 1000;
    offer(makeBundle("/home/u/.Trash/Photon.app", "com.example.photon"));
    const auto firstShown = m_pController->showDate();
    ASSERT_TRUE(m_pController->isActive());
    EXPECT_TRUE(m_pController->window()->isVisible());
    // The text is written before the remains exist; their first size report
    // brings it up to date.
    EXPECT_NE(subtitle().find("Zero KB"), std::string::npos);
    m_pController->updateText();
    EXPECT_EQ(subtitle(),
              "Photon left at least 1 KB of service files. Remove them to complete the "
              "uninstallation.");

    m_pQueue->advance(500ms);
    m_nNextSize = 2000;
    offer(makeBundle("/home/u/.Trash/Quill.app", "com.example.quill"));
    m_pController->updateText();  // what the new remains' first size report does

    EXPECT_EQ(m_arrAskedIds, (std::vector<std::string>{"com.example.photon", "com.example.quill"}));
    EXPECT_EQ(m_pController->mainAppName(), "Photon");
    EXPECT_EQ(m_pController->otherAppCount(), 1);
    EXPECT_EQ(m_pController->showDate(), firstShown);
    EXPECT_EQ(m_pController->removeInfo().size(), 2u);
    EXPECT_EQ(subtitle(),
              "Photon and 1 other application left at least 3 KB of service files. Remove them "
              "to complete the uninstallation.");

    // Sizes that arrive later show up at once.
    m_arrCreated[1]->m_nTotalSize = 2'500'000;
    m_pController->onSimpleRemainsInfoChanged(nullptr);  // nil changes nothing
    EXPECT_NE(subtitle().find("3 KB"), std::string::npos);
    m_pController->updateText();
    EXPECT_NE(subtitle().find("2.5 MB"), std::string::npos) << subtitle();
}

TEST_F(RichNotificationWCTest, TheSameBundleReportedTwiceChangesNothing) {
    auto bundle = makeBundle("/home/u/.Trash/Photon.app", "com.example.photon");
    offer(bundle);
    // Let the fade-in finish, so that a second fade-in would show.
    m_pController->fadeInAnimation()->stop();
    m_pController->window()->setWindowOpacity(1.0);

    offer(makeBundle("/home/u/.Trash/Photon.app", "com.example.photon"));

    EXPECT_EQ(m_pController->otherAppCount(), 0);
    EXPECT_EQ(m_pController->removedApps().size(), 1u);
    EXPECT_EQ(m_arrCreated.size(), 1u);
    EXPECT_EQ(m_arrCreated[0]->m_arrBundles.size(), 1u);
    EXPECT_EQ(m_pController->fadeInAnimation()->state(), QAbstractAnimation::Stopped);
    EXPECT_DOUBLE_EQ(m_pController->window()->windowOpacity(), 1.0);
}

TEST_F(RichNotificationWCTest, TwoCopiesOfOneIdentifierShareTheirRemains) {
    offer(makeBundle("/home/u/.Trash/Photon.app", "com.example.photon"));
    offer(makeBundle("/home/u/.Trash/Old/Photon 2.app", "com.example.photon"));

    ASSERT_EQ(m_arrCreated.size(), 1u);
    ASSERT_EQ(m_arrCreated[0]->m_arrBundles.size(), 2u);
    EXPECT_EQ(m_arrCreated[0]->m_arrBundles[1]->path(), "/home/u/.Trash/Old/Photon 2.app");
    EXPECT_EQ(m_pController->otherAppCount(), 1);
    EXPECT_EQ(m_pController->removedApps().size(), 2u);
}

TEST_F(RichNotificationWCTest, NothingHappensUnlessTheRuleAllowsItAndUntilTheMainQueueRuns) {
    m_pController->showNotificationForApp(nullptr);
    EXPECT_TRUE(m_arrAskedIds.empty());

    m_bMayShow = false;
    offer(makeBundle("/home/u/.Trash/Photon.app", "com.example.photon"));
    EXPECT_EQ(m_arrAskedIds.size(), 1u);
    EXPECT_FALSE(m_pController->isActive());
    EXPECT_TRUE(m_pController->removedApps().empty());
    EXPECT_FALSE(m_pController->window()->isVisible());

    // A rule that answers on another thread: the work waits for the main queue.
    m_bMayShow = true;
    std::thread other(
        [&] { m_pController->showNotificationForApp(makeBundle("/t/Quill.app", "q")); });
    other.join();
    EXPECT_FALSE(m_pController->isActive());
    m_pQueue->runUntilIdle();
    EXPECT_TRUE(m_pController->isActive());
    EXPECT_EQ(m_pController->mainAppName(), "Quill");
}

TEST_F(RichNotificationWCTest, LosingTheFocusHidesOnlyAfterTwoSeconds) {
    struct Case {
        std::chrono::milliseconds after;
        bool hides;
    };
    for (const Case& c : {Case{1900ms, false}, Case{2000ms, false}, Case{2100ms, true}}) {
        SCOPED_TRACE(c.after.count());
        offer(makeBundle("/home/u/.Trash/Photon.app", "com.example.photon"));
        m_pQueue->advance(c.after);
        QEvent deactivate(QEvent::WindowDeactivate);
        QCoreApplication::sendEvent(m_pController->window(), &deactivate);

        EXPECT_EQ(m_pController->isActive(), !c.hides);
        EXPECT_EQ(m_pController->window()->isVisible(), !c.hides);
        EXPECT_EQ(m_pController->removedApps().empty(), c.hides);
        EXPECT_EQ(m_pController->removeInfo().empty(), c.hides);
        m_pController->hideNotification();
    }
    // Once hidden, the next application starts a notification of its own.
    offer(makeBundle("/home/u/.Trash/Quill.app", "com.example.quill"));
    EXPECT_EQ(m_pController->mainAppName(), "Quill");
    EXPECT_EQ(m_pController->otherAppCount(), 0);
}

TEST_F(RichNotificationWCTest, ActionsHandOverOpenHelpOrCloseAndAlwaysHide) {
    offer(makeBundle("/home/u/.Trash/Photon.app", "com.example.photon"));
    offer(makeBundle("/home/u/.Trash/Quill.app", "com.example.quill"));
    offer(makeBundle("/home/u/.Trash/Photon 2.app", "com.example.photon"));
    m_pController->completeUninstallButton()->click();

    ASSERT_EQ(m_arrHandedOver.size(), 1u);
    std::vector<std::string> paths;
    for (const auto& entry : m_arrHandedOver[0]) paths.push_back(entry->path());
    EXPECT_EQ(paths,
              (std::vector<std::string>{"/home/u/.Trash/Photon.app", "/home/u/.Trash/Photon 2.app",
                                        "/home/u/.Trash/Quill.app"}));
    EXPECT_FALSE(m_pController->isActive());
    EXPECT_FALSE(m_pController->window()->isVisible());

    offer(makeBundle("/home/u/.Trash/Photon.app", "com.example.photon"));
    m_pController->helpButton()->click();
    EXPECT_EQ(m_arrOpenedURLs, std::vector<std::string>{"https://example.com/help"});
    EXPECT_FALSE(m_pController->window()->isVisible());

    offer(makeBundle("/home/u/.Trash/Photon.app", "com.example.photon"));
    m_pController->closeButton()->click();
    EXPECT_FALSE(m_pController->isActive());
    EXPECT_EQ(m_arrHandedOver.size(), 1u);
    EXPECT_EQ(m_arrOpenedURLs.size(), 1u);
}

TEST_F(RichNotificationWCTest, TheWindowSitsAtTheTopRightOfTheFullScreenFrame) {
    struct Case {
        std::optional<QRect> screen;
        int right;  // distance of the window's right edge from x = 0
        int top;
    };
    for (const Case& c :
         {Case{QRect(0, 0, 1440, 900), 1420, 40}, Case{QRect(-1920, 100, 1920, 1080), -20, 140},
          Case{std::nullopt, -20, 40}}) {
        m_screen = c.screen;
        offer(makeBundle("/home/u/.Trash/Photon.app", "com.example.photon"));
        const QRect frame = m_pController->window()->frameGeometry();
        EXPECT_EQ(frame.x() + frame.width(), c.right);
        EXPECT_EQ(frame.y(), c.top);
        EXPECT_EQ(frame.width(), RichNotificationWC::kWindowWidth);
        m_pController->hideNotification();
    }
}

TEST_F(RichNotificationWCTest, TheStandardScreenIsThePrimaryScreensFullGeometry) {
    auto environment = RichNotificationWC::standardEnvironment();
    ASSERT_TRUE(environment.mainScreenFrame);
    EXPECT_EQ(environment.mainScreenFrame(), QGuiApplication::primaryScreen()->geometry());
}

// The real remains finder behind the window: its sizes, computed on worker
// threads and delivered through the main queue, reach the text.
TEST(RichNotificationWCWithRemainsTest, SizesFromTheRemainsFinderReachTheText) {
    auto queue = std::make_shared<dispatch::ManualMainQueue>();
    dispatch::ScopedMainQueue scoped(queue);
    testsupport::TempDir home;
    home.makeDir(".Trash/Photon.app");
    home.writeFile("Library/Caches/com.example.photon/cache.db", std::string(300'000, 'x'));
    const PathsGenerator paths("user", home.path());
    auto calculation = SimpleSizeCalculation::create();

    auto environment = RichNotificationWC::standardEnvironment();
    environment.calculateIsCanShowNotificationForBundleWithID =
        [](const std::optional<std::string>&, std::function<void()> okBlock) { okBlock(); };
    environment.createRemainsInfo = [&](const std::shared_ptr<platform::Bundle>& bundle,
                                        std::weak_ptr<SimpleRemainsInfoListener> listener) {
        return RichNotificationWC::remainsInfoFor(
            SimpleRemainsInfo::create(bundle, std::move(listener), paths, calculation));
    };
    std::vector<std::string> handedOver;
    environment.removeFilePaths = [&](const std::vector<std::shared_ptr<PathForRemove>>& list) {
        for (const auto& entry : list) handedOver.push_back(entry->path());
    };
    environment.texts = std::make_shared<LocalizedStrings>(
        SWEEPWELL_RESOURCES, RichNotificationWCLocalizable::kTableName,
        std::vector<std::string>{"en"});
    auto controller = RichNotificationWC::create(environment);

    controller->showNotificationForApp(
        makeBundle(home / ".Trash/Photon.app", "com.example.photon"));
    const auto deadline = std::chrono::steady_clock::now() + 20s;
    auto total = [&] {
        const auto& info = controller->removeInfo();
        return info.empty() ? 0 : info[0].second->getTotalSize();
    };
    // The virtual clock keeps pace with the real one: idle workers look for
    // new work on a main-queue timer, and a task that arrives just as they
    // went idle waits for it.
    while (total() < 300'000u && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(5ms);
        queue->advance(5ms);
    }
    ASSERT_EQ(controller->removeInfo().size(), 1u);
    ASSERT_GE(total(), 300'000u);
    EXPECT_NE(controller->subtitleLabel()->stringValue().find(
                  StringUtils::convertToStringFromFileSize(static_cast<std::int64_t>(total()))),
              std::string::npos)
        << controller->subtitleLabel()->stringValue();

    controller->completeUninstallButton()->click();
    EXPECT_EQ(handedOver, (std::vector<std::string>{home / ".Trash/Photon.app",
                                                    home / "Library/Caches/com.example.photon"}));
}

}  // namespace
