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

// Glyphs of a laid-out document, and how many of them are the missing-glyph
// box (glyph 0) of the font the layout settled on after falling back.
std::pair<int, int> countGlyphs(const QTextDocument& document) {
    document.size();  // lays it out
    int glyphs = 0;
    int missing = 0;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        for (const QGlyphRun& run : block.layout()->glyphRuns(0, block.length())) {
            for (const quint32 index : run.glyphIndexes()) {
                ++glyphs;
                missing += index == 0 ? 1 : 0;
            }
        }
    }
    return {glyphs, missing};
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

TEST_F(NotificationWindowTest, EachLanguageFillsAFramelessToolWindowWithItsControlsInside) {
    const struct {
        const char* language;
        const char* title;  // nullptr: not checked
        const char* close;
        const char* size;
    } rows[] = {
        {"en", "Sweepwell - Complete Uninstallation", "Close", "Zero KB"},
        {"de", "Sweepwell - Vollständige Deinstallation", "Schließen", "null kB"},
        {"ru", nullptr, nullptr, "ноль кБ"},
        {"pt_BR.UTF-8", nullptr, nullptr, "zero kB"},
        {"ja", "Sweepwell - 完全アンインストール", nullptr, nullptr},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.language);
        auto controller = makeController(row.language);
        EXPECT_EQ(controller->subtitleLabel()->stringValue(), "");  // nothing shown yet
        if (row.title != nullptr) {
            EXPECT_EQ(controller->titleLabel()->stringValue(), row.title);
        }
        if (row.close != nullptr) {
            EXPECT_EQ(controller->closeButton()->title(), row.close);
        }
        offer(*controller, "/home/u/.Trash/写真エディタ Photon Studio Professional Edition.app");
        if (row.size != nullptr) {
            EXPECT_NE(controller->subtitleLabel()->stringValue().find(row.size), std::string::npos);
        }
        // Ideographs and kana need a font that has them (the runtime font
        // packages); without one they are drawn as boxes.
        for (auto* label : {controller->titleLabel(), controller->subtitleLabel()}) {
            const auto [glyphs, missing] = countGlyphs(label->document());
            EXPECT_GT(glyphs, 0);
            EXPECT_EQ(missing, 0) << label->stringValue();
        }
        RichNotificationWindow* window = controller->window();
        const Qt::WindowFlags flags = window->windowFlags();
        EXPECT_EQ(flags & Qt::WindowType_Mask, Qt::Tool);
        EXPECT_TRUE(flags & Qt::FramelessWindowHint);
        EXPECT_TRUE(flags & Qt::WindowStaysOnTopHint);
        EXPECT_FALSE(flags & Qt::WindowDoesNotAcceptFocus);
        ASSERT_NE(window->contentView(), nullptr);

        // Every control lies wholly inside the card, and the wrapped texts
        // get all the height their lines need.
        const QRect card = window->rect();
        for (QWidget* control : std::initializer_list<QWidget*>{
                 controller->titleLabel(), controller->subtitleLabel(), controller->helpButton(),
                 controller->closeButton(), controller->completeUninstallButton()}) {
            const QRect frame(control->mapTo(window, QPoint(0, 0)), control->size());
            EXPECT_TRUE(card.contains(frame)) << control->objectName().toStdString();
        }
        for (MultilineWordWrapTextField* label :
             {controller->titleLabel(), controller->subtitleLabel()}) {
            EXPECT_GE(label->height(), label->heightForWidth(label->width()));
            EXPECT_GT(label->height(), 0);
        }
        // The buttons share a row, Complete Uninstall last, at their own sizes.
        CustomButton* close = controller->closeButton();
        CustomButton* complete = controller->completeUninstallButton();
        EXPECT_EQ(close->geometry().top(), complete->geometry().top());
        EXPECT_LT(close->geometry().right(), complete->geometry().left());
        EXPECT_EQ(complete->size(), complete->sizeHint());
        EXPECT_EQ(complete->displayedTitle(), QString::fromStdString(complete->title()));
        EXPECT_EQ(close->displayedTitle(), QString::fromStdString(close->title()));
        // The corners are cut away.
        EXPECT_FALSE(window->mask().contains(QPoint(0, 0)));
        EXPECT_TRUE(window->mask().contains(QPoint(card.width() / 2, 0)));
        controller->hideNotification();
    }
}

}  // namespace
