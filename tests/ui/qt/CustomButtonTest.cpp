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
