#pragma once

#include <QMargins>
#include <QRect>
#include <QSize>
#include <string>

class QPainter;

// Draws a button's background image stretched over the whole button without
// distorting it: the image is cut into nine slices, the corners keep their
// size, the edges stretch along their length and the centre both ways. The
// caps are everything but the middle pixel row and column, so an image of a
// rounded rectangle keeps its radius at any button size. The image is drawn
// from its vectors at the painter's pixel density, so it stays sharp.
class MojaveCompatibleSlicingNSButtonCell {
public:
    MojaveCompatibleSlicingNSButtonCell() = default;

    void drawImage(QPainter& painter, const std::string& imageName, const QRect& frame) const;

    // The caps of an image of this size: (size - 1) / 2 on each side.
    static QMargins capInsetsForImageSize(QSize size);
};
