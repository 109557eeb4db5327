#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QEvent>
#include <QFontInfo>
#include <QTextBlock>
#include <QTextDocument>

#include "dispatch/ManualMainQueue.h"
#include "platform/Bundle.h"
#include "ui/RichNotificationWCLocalizable.h"
#include "ui/qt/CustomButton.h"
#include "ui/qt/MultilineWordWrapTextField.h"
#include "ui/qt/RichNotificationWC.h"
#include "ui/qt/RichNotificationWindow.h"

using namespace std::chrono_literals;

namespace {

// The window drawing what its offer decides, and its buttons and focus
// reaching the offer.
class RichNotificationWCTest : public ::testing::Test {
protected:
    RichNotificationWCTest() {
        RichNotificationWC::Environment environment;
        environment.offer.calculateIsCanShowNotificationForBundleWithID =
            [](const std::optional<std::string>&, std::function<void()> okBlock) { okBlock(); };
        environment.offer.removeFilePaths = [this](const auto&) { ++m_nHandedOver; };
        environment.offer.openURL = [this](const std::string&) { return ++m_nOpened > 0; };
        environment.mainScreenFrame = [this] { return m_screen; };
        environment.texts = std::make_shared<LocalizedStrings>(
            SWEEPWELL_RESOURCES, RichNotificationWCLocalizable::kTableName,
            std::vector<std::string>{"en"});
        m_pController = RichNotificationWC::create(std::move(environment));
    }

    void offer(const std::string& path) {
        m_pController->showNotificationForApp(std::make_shared<platform::Bundle>(
            path, platform::PlistDictionary{{"CFBundleIdentifier", std::string("com.x")}}));
        m_pQueue->runUntilIdle();
    }
    bool visible() const { return m_pController->window()->isVisible(); }

    std::shared_ptr<dispatch::ManualMainQueue> m_pQueue =
        std::make_shared<dispatch::ManualMainQueue>();
    dispatch::ScopedMainQueue m_scoped{m_pQueue};
    std::optional<QRect> m_screen = QRect(0, 0, 1440, 900);
    int m_nHandedOver = 0;
    int m_nOpened = 0;
    std::shared_ptr<RichNotificationWC> m_pController;
};

// The name and the size are emphasised; markup characters in a name are text.
TEST_F(RichNotificationWCTest, TheSubtitleStylesNameAndSizeAndShowsMarkupCharactersLiterally) {
    offer("/home/u/.Trash/R&D <beta>.app");
    EXPECT_TRUE(visible());
    std::vector<std::pair<std::string, bool>> fragments;  // text, bold
    const QTextDocument& document = m_pController->subtitleLabel()->document();
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            fragments.emplace_back(
                it.fragment().text().toStdString(),
                QFontInfo(it.fragment().charFormat().font()).weight() >= QFont::Medium);
        }
    }
    ASSERT_EQ(fragments.size(), 4u);
    const char* texts[] = {"R&D <beta>", " left at least ", "Zero KB"};
    for (int i = 0; i < 3; ++i) EXPECT_EQ(fragments[i].first, texts[i]);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(fragments[i].second, i % 2 == 0) << i;  // emphasis
}

// The timing of the focus rule is the offer's; here the event must reach it.
TEST_F(RichNotificationWCTest, ButtonsAndFocusReachTheOfferAndHideTheWindow) {
    QEvent deactivate(QEvent::WindowDeactivate);
    for (const std::function<void()>& end : std::vector<std::function<void()>>{
             [&] { m_pController->completeUninstallButton()->click(); },
             [&] { m_pController->helpButton()->click(); },
             [&] { m_pController->closeButton()->click(); },
             [&] {
                 m_pQueue->advance(2100ms);
                 QCoreApplication::sendEvent(m_pController->window(), &deactivate);
             }}) {
        offer("/home/u/.Trash/Photon.app");
        end();
        EXPECT_FALSE(visible() || m_pController->offer().isActive());
    }
    EXPECT_EQ(m_nHandedOver, 1);
    EXPECT_EQ(m_nOpened, 1);
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
        offer("/home/u/.Trash/Photon.app");
        const QRect frame = m_pController->window()->frameGeometry();
        EXPECT_EQ(frame.x() + frame.width(), c.right);
        EXPECT_EQ(frame.y(), c.top);
        EXPECT_EQ(frame.width(), RichNotificationWC::kWindowWidth);
        m_pController->hideNotification();
    }
}

}  // namespace
