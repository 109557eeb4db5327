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

}  // namespace
