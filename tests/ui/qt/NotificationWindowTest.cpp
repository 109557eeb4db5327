#include <gtest/gtest.h>

#include <QFontInfo>
#include <QGlyphRun>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextLayout>

#include "dispatch/ManualMainQueue.h"
#include "platform/Bundle.h"
#include "ui/RichNotificationWCLocalizable.h"
#include "ui/qt/CustomButton.h"
#include "ui/qt/MultilineWordWrapTextField.h"
#include "ui/qt/RichNotificationView.h"
#include "ui/qt/RichNotificationWC.h"
#include "ui/qt/RichNotificationWindow.h"

namespace {

// A styled stretch of the subtitle as drawn.
struct Fragment {
    std::string text;
    bool bold;
    QColor color;
};

std::vector<Fragment> fragmentsOf(const QTextDocument& document) {
    std::vector<Fragment> fragments;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            const QTextFragment fragment = it.fragment();
            const QTextCharFormat format = fragment.charFormat();
            fragments.push_back({fragment.text().toStdString(),
                                 QFontInfo(format.font()).weight() >= QFont::Medium,
                                 format.foreground().color()});
        }
    }
    return fragments;
}

const QColor kText(0x4C, 0x4E, 0x54);
const QColor kBlue(0x33, 0x6A, 0xBB);

class NotificationWindowTest : public ::testing::Test {
protected:
    std::shared_ptr<RichNotificationWC> makeController(const std::string& language) {
        RichNotificationWC::Environment environment;
        environment.offer.calculateIsCanShowNotificationForBundleWithID =
            [](const std::optional<std::string>&, std::function<void()> okBlock) { okBlock(); };
        environment.mainAppName = "Sweepwell";
        environment.mainScreenFrame = [] { return std::optional<QRect>(QRect(0, 0, 1440, 900)); };
        environment.texts = std::make_shared<LocalizedStrings>(
            SWEEPWELL_RESOURCES, RichNotificationWCLocalizable::kTableName,
            std::vector<std::string>{language});
        return RichNotificationWC::create(std::move(environment));
    }
    void offer(RichNotificationWC& controller, const std::string& path) {
        controller.showNotificationForApp(std::make_shared<platform::Bundle>(
            path,
            platform::PlistDictionary{{"CFBundleIdentifier", std::string("com.example.app")}}));
        m_pQueue->runUntilIdle();
    }

    std::shared_ptr<dispatch::ManualMainQueue> m_pQueue =
        std::make_shared<dispatch::ManualMainQueue>();
    dispatch::ScopedMainQueue m_scoped{m_pQueue};
};

TEST_F(NotificationWindowTest, TheSubtitleStylesNameAndSizeAndShowsMarkupCharactersLiterally) {
    auto controller = makeController("en");
    offer(*controller, "/home/u/.Trash/R&D <beta>.app");
    const std::vector<Fragment> fragments = fragmentsOf(controller->subtitleLabel()->document());

    ASSERT_EQ(fragments.size(), 4u);
    const char* texts[] = {"R&D <beta>", " left at least ", "Zero KB", nullptr};
    for (int i = 0; i < 4; ++i) {
        if (texts[i] != nullptr) {
            EXPECT_EQ(fragments[i].text, texts[i]);
        }
        const bool emphasised = i % 2 == 0;  // the name and the size
        EXPECT_EQ(fragments[i].bold, emphasised) << i;
        EXPECT_EQ(fragments[i].color, emphasised ? kBlue : kText) << i;
    }
}

}  // namespace
