#include <gtest/gtest.h>

#include <QApplication>
#include <QFontInfo>
#include <QMouseEvent>
#include <QPainter>
#include <QTextBlock>
#include <QTextDocument>
#include <cmath>
#include <set>

#include "ui/qt/AttributedStringAdapter.h"
#include "ui/qt/CustomButton.h"
#include "ui/qt/FontsFactory.h"
#include "ui/qt/ImagesFactory.h"
#include "ui/qt/MojaveCompatibleSlicingNSButtonCell.h"

namespace {

TEST(FontsFactoryTest, EveryCaseIsAnInstalledFaceOfTheRightFamilyAndWeight) {
    const std::set<QString> lucida{"Lucida Grande", "Lucida Sans", "DejaVu Sans"};
    const std::set<QString> open{"Open Sans"};
    const std::set<QString> helvetica{"Helvetica", "Liberation Sans", "Arimo", "Nimbus Sans"};
    std::set<QString> neue = helvetica;
    neue.insert("Helvetica Neue");
    const std::set<QString> system{
        QFontInfo(QFontDatabase::systemFont(QFontDatabase::GeneralFont)).family()};
    // Indexed by the case's raw value: acceptable families, lightest and heaviest weight.
    const std::tuple<const std::set<QString>&, int, int> cases[] = {
        {lucida, 400, 400},    {open, 400, 400},      {open, 700, 700},   {open, 600, 600},
        {helvetica, 400, 400}, {helvetica, 700, 700}, {neue, 400, 400},   {neue, 700, 700},
        {neue, 500, 700},  // heavier than regular whatever the family has
        {neue, 300, 400},      {system, 400, 400},    {system, 600, 900},
    };
    for (int raw = 0; raw < static_cast<int>(std::size(cases)); ++raw) {
        SCOPED_TRACE(raw);
        const auto& [families, minWeight, maxWeight] = cases[raw];
        const auto name = FontsFactory::fontCaseFromRawValue(raw);
        ASSERT_TRUE(name);
        const QFontInfo info(FontsFactory::fontWithName(*name, 13));
        EXPECT_TRUE(families.count(info.family())) << info.family().toStdString();
        EXPECT_GE(info.weight(), minWeight);
        EXPECT_LE(info.weight(), maxWeight);
        EXPECT_EQ(info.pixelSize(), 13);
    }
    for (int raw : {-1, 12, 100}) EXPECT_FALSE(FontsFactory::fontCaseFromRawValue(raw)) << raw;
}

TEST(CustomButtonStyleTest, EveryKindDrawsOnlyImagesThatExist) {
    for (int i = 0; i < kCountOfCustomButtonKinds; ++i) {
        const CustomButtonStyle style =
            CustomButtonStyles::styleForKind(static_cast<CustomButtonKind>(i));
        for (const auto& image : {style.image, style.alternateImage}) {
            if (image) {
                EXPECT_TRUE(ImagesFactory::GetInstance().hasImageNamed(image->name)) << i;
            }
        }
    }
    EXPECT_FALSE(ImagesFactory::GetInstance().hasImageNamed("../resources/btn_blue"));
}

TEST(CustomButtonTest, IntrinsicSizeFollowsTheTitleAndNarrowTitlesAreCut) {
    CustomFirstButtonInHelperMessage button;
    const CustomButtonStyle& style = button.buttonStyle();
    button.setTitle("OK");
    // A short title gets the minimum width; the height is the image's.
    EXPECT_EQ(button.intrinsicContentSize(), QSize(static_cast<int>(style.minContentWidth), 30));
    button.setTitle("Complete Uninstall of Everything");  // a new title is measured anew
    const QFontMetricsF metrics(FontsFactory::GetInstance().fontForDescription(style.font));
    const qreal text = metrics.horizontalAdvance("Complete Uninstall of Everything");
    EXPECT_NEAR(button.intrinsicContentSize().width(), text + style.horizontalСontentSizeIncrease,
                2.0);

    // Given less room than the title needs, it is first set tighter, then cut.
    const int indents = static_cast<int>(style.headIndent - style.tailIndent);
    const int needed = static_cast<int>(std::ceil(text)) + indents;
    button.resize(needed - 5, 30);
    EXPECT_EQ(button.displayedTitle(), "Complete Uninstall of Everything");
    button.resize(needed - 40, 30);
    const QString shown = button.displayedTitle();
    EXPECT_TRUE(shown.endsWith(QChar(0x2026))) << shown.toStdString();
    EXPECT_TRUE(shown.startsWith("Complete Uninstall")) << shown.toStdString();
}

TEST(CustomButtonTest, PressedAndCheckedStatesUseTheAlternateStyler) {
    CustomSecondButtonInHelperMessage button;
    button.setTitle("Close");
    auto colorOf = [](const CustomButton& b) {
        return b.attributedTitle().attributesAtIndex(0).foregroundColor;
    };
    EXPECT_EQ(colorOf(button), button.buttonStyle().textColor);
    button.setDown(true);
    EXPECT_EQ(colorOf(button), button.buttonStyle().alternateTextColor);
    button.setDown(false);

    CustomCheckboxInSelectedFiles checkbox;
    checkbox.setTitle("Keep");
    EXPECT_TRUE(checkbox.isCheckable());
    EXPECT_FALSE(checkbox.showsAlternateState());
    checkbox.click();
    EXPECT_TRUE(checkbox.isChecked());
    EXPECT_TRUE(checkbox.showsAlternateState());

    // Tags in a title are styled by what the caller registers.
    LinkCustomButton link;
    link.normalMarkupStyler().setForegroundColor(Color(1, 0, 0), "b");
    link.markupStylersChanged();
    link.setTitle("Rate <b>us</b> & more");
    EXPECT_EQ(link.attributedTitle().string(), "Rate us & more");
    EXPECT_EQ(link.attributedTitle().attributesAtIndex(5).foregroundColor, Color(1, 0, 0));
}

TEST(CustomButtonTest, ClicksAreIgnoredWhenClickingIsOffAndDisabledButtonsFade) {
    CustomFirstButtonInHelperMessage button;
    button.setTitle("Go");
    button.resize(button.sizeHint());
    int clicked = 0;
    QObject::connect(&button, &QAbstractButton::clicked, [&] { ++clicked; });
    auto clickAtCentre = [&] {
        const QPointF centre(button.width() / 2.0, button.height() / 2.0);
        QMouseEvent press(QEvent::MouseButtonPress, centre, button.mapToGlobal(centre),
                          Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&button, &press);
        QMouseEvent release(QEvent::MouseButtonRelease, centre, button.mapToGlobal(centre),
                            Qt::LeftButton, Qt::NoButton, Qt::NoModifier);
        QApplication::sendEvent(&button, &release);
    };
    button.setClickEnabled(false);
    clickAtCentre();
    EXPECT_EQ(clicked, 0);
    button.setClickEnabled(true);
    clickAtCentre();
    EXPECT_EQ(clicked, 1);

    auto backgroundAlpha = [&] {
        QImage image(button.size(), QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        button.render(&image, QPoint(), QRegion(), QWidget::DrawChildren);
        return image.pixelColor(4, button.height() / 2).alphaF();
    };
    EXPECT_NEAR(backgroundAlpha(), 1.0, 0.01);
    button.setEnabled(false);
    EXPECT_NEAR(backgroundAlpha(), button.buttonStyle().alphaValueForDisabledState, 0.02);
}

TEST(SlicingCellTest, CornersKeepTheirShapeOnAHighDensityScreen) {
    EXPECT_EQ(MojaveCompatibleSlicingNSButtonCell::capInsetsForImageSize(QSize(21, 30)),
              QMargins(10, 14, 10, 14));
    QImage image(QSize(400, 88), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(2.0);
    image.fill(Qt::transparent);
    {
        QPainter painter(&image);
        MojaveCompatibleSlicingNSButtonCell().drawImage(painter, "btn_blue", QRect(0, 0, 200, 44));
    }
    // The corner is the image's own, pixel for pixel; the middle is filled.
    const QImage corner = ImagesFactory::GetInstance()
                              .pixmapOfImageNamed("btn_blue", 2.0)
                              .toImage()
                              .copy(0, 0, 20, 28);
    EXPECT_EQ(image.copy(corner.rect()).convertToFormat(corner.format()), corner);
    EXPECT_EQ(image.pixelColor(200, 44).alpha(), 255);
}

TEST(AttributedStringAdapterTest, ParagraphsRunsAndAlignmentsCarryOver) {
    TextAttributes first;
    first.paragraphStyle = ParagraphStyle{};
    first.paragraphStyle->alignment = TextAlignment::Center;
    TextAttributes blue = first;
    blue.foregroundColor = Color(0, 0, 1);
    TextAttributes second;
    second.paragraphStyle = ParagraphStyle{};
    second.paragraphStyle->alignment = TextAlignment::Right;
    second.paragraphStyle->headIndent = 4;
    AttributedString string("Über ", first);
    string.append("𝄞blue", blue);
    string.append("\nnext", second);

    QTextDocument document;
    AttributedStringAdapter::fillDocument(document, string);
    ASSERT_EQ(document.blockCount(), 2);
    const QTextBlock one = document.begin();
    const QTextBlock two = one.next();
    EXPECT_EQ(one.text(), QString::fromUtf8("Über 𝄞blue"));
    EXPECT_EQ(two.text(), "next");
    EXPECT_EQ(one.blockFormat().alignment() & Qt::AlignHorizontal_Mask, Qt::AlignHCenter);
    EXPECT_EQ(two.blockFormat().alignment(), Qt::AlignRight | Qt::AlignAbsolute);
    EXPECT_EQ(two.blockFormat().leftMargin(), 4);
    // The blue run starts after "Über " (5 UTF-16 units) and spans the clef's two.
    const auto ranges = AttributedStringAdapter::formatRanges(string);
    ASSERT_EQ(ranges.size(), 3);
    EXPECT_EQ(ranges[1].start, 5);
    EXPECT_EQ(ranges[1].length, 6);
    EXPECT_EQ(ranges[1].format.foreground().color(), QColor(0, 0, 255));
    EXPECT_FALSE(ranges[0].format.hasProperty(QTextFormat::ForegroundBrush));
}

}  // namespace
