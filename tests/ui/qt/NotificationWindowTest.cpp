#include <gtest/gtest.h>

#include <QFontInfo>
#include <QGlyphRun>
#include <QImage>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextLayout>

#include "dispatch/ManualMainQueue.h"
#include "platform/Bundle.h"
#include "ui/RichNotificationWCLocalizable.h"
#include "ui/qt/AttributedStringAdapter.h"
#include "ui/qt/CustomButton.h"
#include "ui/qt/FontsFactory.h"
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

// Glyphs of a laid-out text, and how many of them are the missing-glyph box
// (glyph 0) of the font the layout settled on after falling back.
struct GlyphCount {
    int glyphs = 0;
    int missing = 0;
};
GlyphCount countGlyphs(const QTextLayout& layout, int length) {
    GlyphCount count;
    // A block's layout does not know its text's length: it is given.
    for (const QGlyphRun& run : layout.glyphRuns(0, length)) {
        for (const quint32 index : run.glyphIndexes()) {
            ++count.glyphs;
            if (index == 0) ++count.missing;
        }
    }
    return count;
}
GlyphCount countGlyphs(const QTextDocument& document) {
    document.size();  // lays it out
    GlyphCount count;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        const GlyphCount inBlock = countGlyphs(*block.layout(), block.length());
        count.glyphs += inBlock.glyphs;
        count.missing += inBlock.missing;
    }
    return count;
}
// A button's title laid out as the button lays it out: its style's font, its
// styled runs.
GlyphCount countGlyphs(const CustomButton& button) {
    const AttributedString title = button.attributedTitle();
    QTextLayout layout(QString::fromStdString(title.string()),
                       FontsFactory::GetInstance().fontForDescription(button.buttonStyle().font));
    layout.setFormats(AttributedStringAdapter::formatRanges(title));
    layout.beginLayout();
    while (layout.createLine().isValid()) {
    }
    layout.endLayout();
    return countGlyphs(layout, static_cast<int>(layout.text().size()));
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

TEST_F(NotificationWindowTest, TextsComeFromTheTablesOfTheLanguage) {
    auto english = makeController("en");
    EXPECT_EQ(english->titleLabel()->stringValue(), "Sweepwell - Complete Uninstallation");
    EXPECT_EQ(english->closeButton()->title(), "Close");
    EXPECT_EQ(english->completeUninstallButton()->title(), "Complete Uninstall");
    EXPECT_EQ(english->titleLabel()->textColor(),
              Color(0.29803923f, 0.30588236f, 0.32941177f, 1.0f));
    // Before anything is shown the description is empty.
    EXPECT_EQ(english->subtitleLabel()->stringValue(), "");

    auto german = makeController("de");
    EXPECT_EQ(german->titleLabel()->stringValue(), "Sweepwell - Vollständige Deinstallation");
    EXPECT_EQ(german->closeButton()->title(), "Schließen");
    EXPECT_EQ(german->completeUninstallButton()->title(), "Vollständig deinstallieren");
}

TEST_F(NotificationWindowTest, TheSubtitleStylesNameAndSizeAndShowsMarkupCharactersLiterally) {
    auto controller = makeController("en");
    offer(*controller, "/home/u/.Trash/R&D <beta>.app");
    const std::vector<Fragment> fragments = fragmentsOf(controller->subtitleLabel()->document());

    ASSERT_EQ(fragments.size(), 4u);
    EXPECT_EQ(fragments[0].text, "R&D <beta>");
    EXPECT_EQ(fragments[1].text, " left at least ");
    EXPECT_EQ(fragments[2].text, "Zero KB");
    for (int i : {0, 2}) {
        EXPECT_TRUE(fragments[i].bold) << i;
        EXPECT_EQ(fragments[i].color, kBlue) << i;
    }
    for (int i : {1, 3}) {
        EXPECT_FALSE(fragments[i].bold) << i;
        EXPECT_EQ(fragments[i].color, kText) << i;
    }
}

TEST_F(NotificationWindowTest, TheSizeIsWrittenInTheLanguageOfTheText) {
    const struct {
        const char* language;
        const char* size;
    } rows[] = {
        {"en", "Zero KB"}, {"de", "null kB"}, {"ru", "ноль кБ"}, {"pt_BR.UTF-8", "zero kB"}};
    for (const auto& row : rows) {
        auto controller = makeController(row.language);
        offer(*controller, "/home/u/.Trash/Photon.app");
        const std::string subtitle = controller->subtitleLabel()->stringValue();
        EXPECT_NE(subtitle.find(row.size), std::string::npos) << row.language << ": " << subtitle;
        controller->hideNotification();
    }
}

// Ideographs and kana need a font that has them (the runtime font packages);
// without one they are drawn as boxes.
TEST_F(NotificationWindowTest, JapaneseTextsHaveAGlyphForEveryCharacter) {
    auto controller = makeController("ja");
    offer(*controller, "/home/u/.Trash/写真エディタ.app");
    ASSERT_EQ(controller->titleLabel()->stringValue(), "Sweepwell - 完全アンインストール");
    const struct {
        const char* what;
        GlyphCount count;
    } texts[] = {
        {"title", countGlyphs(controller->titleLabel()->document())},
        {"subtitle", countGlyphs(controller->subtitleLabel()->document())},
        {"close", countGlyphs(*controller->closeButton())},
        {"complete uninstall", countGlyphs(*controller->completeUninstallButton())},
    };
    for (const auto& text : texts) {
        EXPECT_GT(text.count.glyphs, 0) << text.what;
        EXPECT_EQ(text.count.missing, 0) << text.what;
    }
}

TEST_F(NotificationWindowTest, TheCardIsAFramelessToolWindowWithItsControlsInside) {
    for (const char* language : {"en", "de", "ru"}) {
        SCOPED_TRACE(language);
        auto controller = makeController(language);
        offer(*controller, "/home/u/.Trash/Photon Studio Professional Edition.app");
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
        controller->hideNotification();
    }
}

TEST_F(NotificationWindowTest, TheGroundIsFlatEAEBF0InsideARoundedOutline) {
    auto controller = makeController("en");
    offer(*controller, "/home/u/.Trash/Photon.app");
    const QImage image = controller->window()->grab().toImage();
    // Away from the controls, just inside the outline.
    EXPECT_EQ(image.pixelColor(image.width() / 2, 3), QColor(0xEA, 0xEB, 0xF0));
    EXPECT_EQ(image.pixelColor(image.width() / 2, image.height() - 4), QColor(0xEA, 0xEB, 0xF0));
    // The outline is darker than the ground; the corners are cut away.
    EXPECT_LT(image.pixelColor(image.width() / 2, 0).lightness(),
              QColor(0xEA, 0xEB, 0xF0).lightness());
    EXPECT_FALSE(controller->window()->mask().contains(QPoint(0, 0)));
    EXPECT_TRUE(controller->window()->mask().contains(QPoint(image.width() / 2, 0)));
}

}  // namespace
