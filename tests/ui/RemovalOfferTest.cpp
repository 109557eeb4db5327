#include <gtest/gtest.h>

#include <thread>

#include "dispatch/ManualMainQueue.h"
#include "platform/Bundle.h"
#include "ui/RemovalOffer.h"
#include "ui/RichNotificationWCLocalizable.h"

using namespace std::chrono_literals;

namespace {

std::shared_ptr<platform::Bundle> bundle(const std::string& name, const std::string& id) {
    return std::make_shared<platform::Bundle>(
        "/home/u/.Trash/" + name, platform::PlistDictionary{{"CFBundleIdentifier", id}});
}

// Remains of a given size; each bundle given is one entry.
struct FakeRemains final : RemovalOffer::Remains {
    FakeRemains(std::uint64_t size, std::weak_ptr<SimpleRemainsInfoListener> listener)
        : size(size), listener(std::move(listener)) {}
    void addBundle(const std::shared_ptr<platform::Bundle>& bundle) override {
        bundles.push_back(bundle->path());
    }
    std::uint64_t getTotalSize() const override { return size; }
    void addRemoveObjectPathsToArray(
        std::vector<std::shared_ptr<PathForRemove>>& array) const override {
        for (const auto& path : bundles)
            array.push_back(std::make_shared<PathForRemove>(path, 0, "id"));
    }
    // A size arrives, as the remains finder tells it.
    void grow(std::uint64_t by) {
        size += by;
        if (auto heard = listener.lock()) heard->onSimpleRemainsInfoChanged(nullptr);
    }
    std::vector<std::string> bundles;
    std::uint64_t size;
    std::weak_ptr<SimpleRemainsInfoListener> listener;
};

// The fixture is the window, and records what it is told, in order.
class RemovalOfferTest : public ::testing::Test, public RemovalOffer::View {
protected:
    RemovalOfferTest() {
        RemovalOffer::Environment environment;
        environment.calculateIsCanShowNotificationForBundleWithID =
            [this](const std::optional<std::string>& id, std::function<void()> okBlock) {
                if (id != m_sRefused) okBlock();
            };
        environment.createRemainsInfo = [this](const std::shared_ptr<platform::Bundle>& first,
                                               std::weak_ptr<SimpleRemainsInfoListener> heard) {
            auto remains = std::make_shared<FakeRemains>(1000 * ++m_nRemains, std::move(heard));
            remains->addBundle(first);
            m_arrRemains.push_back(remains);
            return remains;
        };
        environment.removeFilePaths =
            [this](const std::vector<std::shared_ptr<PathForRemove>>& list) {
                for (const auto& entry : list) m_arrHandedOver.push_back(entry->path());
            };
        m_pOffer = RemovalOffer::create(std::move(environment));
        m_pOffer->setView(m_pView);
    }
    void updateText() override { m_calls.push_back("text"); }
    void showNotification() override { m_calls.push_back("show"); }
    void closeWindow() override { m_calls.push_back("close"); }

    void offer(const std::shared_ptr<platform::Bundle>& app) {
        m_pOffer->showNotificationForApp(app);
        m_pQueue->runUntilIdle();
    }
    std::string description() const {
        static const LocalizedStrings english(SWEEPWELL_RESOURCES,
                                              RichNotificationWCLocalizable::kTableName, {"en"});
        return m_pOffer->descriptionMarkup(english);
    }

    std::shared_ptr<dispatch::ManualMainQueue> m_pQueue =
        std::make_shared<dispatch::ManualMainQueue>();
    dispatch::ScopedMainQueue m_scoped{m_pQueue};
    // The fixture outlives the offer; the handle only lends it.
    std::shared_ptr<RemovalOffer::View> m_pView{this, [](RemovalOffer::View*) {}};
    std::vector<std::string> m_calls;
    std::shared_ptr<RemovalOffer> m_pOffer;
    std::optional<std::string> m_sRefused;
    std::uint64_t m_nRemains = 0;
    std::vector<std::shared_ptr<FakeRemains>> m_arrRemains;
    std::vector<std::string> m_arrHandedOver;
};

// Applications trashed while the notification shows join it: one set of
// remains per identifier, each bundle path counted once, the first
// application's name and time kept; all are handed over together.
TEST_F(RemovalOfferTest, ApplicationsJoinTheNotificationThatShowsAndLeaveTogether) {
    EXPECT_EQ(description(), "");
    offer(bundle("Photon.app", "com.example.photon"));
    const auto firstShown = m_pOffer->showDate();
    // The text is written before the remains exist.
    EXPECT_EQ(m_calls, (std::vector<std::string>{"text", "show"}));
    m_pQueue->advance(500ms);
    offer(bundle("Quill.app", "com.example.quill"));
    offer(bundle("Old/Photon 2.app", "com.example.photon"));
    m_calls.clear();
    offer(bundle("Photon.app", "com.example.photon"));  // changes nothing, not even the fade-in

    EXPECT_TRUE(m_calls.empty());
    EXPECT_EQ(m_pOffer->showDate(), firstShown);
    ASSERT_EQ(m_arrRemains.size(), 2u);
    EXPECT_EQ(description(),
              "<b>Photon</b> and 2 other applications left at least <b>3 KB</b> of service files. "
              "Remove them to complete the uninstallation.");
    // The offer hears each size its remains learn, and the view redraws from it.
    m_arrRemains[1]->grow(250'000);
    EXPECT_EQ(m_calls, std::vector<std::string>{"text"});
    EXPECT_NE(description().find("<b>253 KB</b>"), std::string::npos) << description();

    m_pOffer->onSelectCompleteUninstall();
    // Grouped by identifier, identifiers in the order they came.
    EXPECT_EQ(m_arrHandedOver, (std::vector<std::string>{"/home/u/.Trash/Photon.app",
                                                         "/home/u/.Trash/Old/Photon 2.app",
                                                         "/home/u/.Trash/Quill.app"}));
    EXPECT_FALSE(m_pOffer->isActive());
    EXPECT_EQ(m_calls.back(), "close");
}

TEST_F(RemovalOfferTest, OnlyWhatTheRuleAllowsIsOfferedAndOnlyOnTheMainQueue) {
    m_pOffer->showNotificationForApp(nullptr);
    m_sRefused = "com.example.photon";
    offer(bundle("Photon.app", "com.example.photon"));
    EXPECT_FALSE(m_pOffer->isActive());
    EXPECT_TRUE(m_calls.empty());

    // A rule that answers on another thread: the work waits for the main queue.
    std::thread([&] { m_pOffer->showNotificationForApp(bundle("Quill.app", "q")); }).join();
    EXPECT_FALSE(m_pOffer->isActive());
    m_pQueue->runUntilIdle();
    EXPECT_TRUE(m_pOffer->isActive());
    EXPECT_EQ(m_pOffer->mainAppName(), "Quill");
}

TEST_F(RemovalOfferTest, LosingTheFocusHidesOnlyAfterTwoSeconds) {
    for (const auto& [after, hides] : {std::pair{1900ms, false}, {2000ms, false}, {2100ms, true}}) {
        SCOPED_TRACE(after.count());
        offer(bundle("Photon.app", "com.example.photon"));
        m_calls.clear();
        m_pQueue->advance(after);
        m_pOffer->windowDidResignKey();
        EXPECT_EQ(m_pOffer->isActive(), !hides);
        EXPECT_EQ(m_pOffer->removedApps().empty(), hides);
        EXPECT_EQ(m_pOffer->removeInfo().empty(), hides);
        EXPECT_EQ(m_calls, hides ? std::vector<std::string>{"close"} : std::vector<std::string>{});
        m_pOffer->hideNotification();
    }
    // Once hidden, the next application starts a notification of its own.
    offer(bundle("Quill.app", "com.example.quill"));
    EXPECT_EQ(m_pOffer->mainAppName(), "Quill");
    EXPECT_EQ(m_pOffer->otherAppCount(), 0);
}

}  // namespace
