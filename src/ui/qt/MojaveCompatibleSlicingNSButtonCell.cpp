#include "ui/qt/MojaveCompatibleSlicingNSButtonCell.h"

#include <qdrawutil.h>

#include <QPainter>

#include "ui/qt/ImagesFactory.h"

QMargins MojaveCompatibleSlicingNSButtonCell::capInsetsForImageSize(QSize size) {
    const int horizontal = std::max(0, (size.width() - 1) / 2);
    const int vertical = std::max(0, (size.height() - 1) / 2);
    return QMargins(horizontal, vertical, horizontal, vertical);
}

void MojaveCompatibleSlicingNSButtonCell::drawImage(QPainter& painter, const std::string& imageName,
                                                    const QRect& frame) const {
    if (frame.isEmpty()) return;
    ImagesFactory& images = ImagesFactory::GetInstance();
    const QSize size = images.sizeOfImageNamed(imageName);
    if (size.isEmpty()) return;
    const qreal ratio = painter.device() ? painter.device()->devicePixelRatioF() : 1.0;

    // An image as large as the frame needs no slicing: draw it whole.
    if (size == frame.size()) {
        painter.drawPixmap(frame.topLeft(), images.pixmapOfImageNamed(imageName, ratio));
        return;
    }
    const QPixmap pixmap = images.pixmapOfImageNamed(imageName, ratio);
    QMargins caps = capInsetsForImageSize(size);
    // A frame smaller than the caps shrinks them evenly rather than overlapping.
    caps.setLeft(std::min(caps.left(), frame.width() / 2));
    caps.setRight(std::min(caps.right(), frame.width() / 2));
    caps.setTop(std::min(caps.top(), frame.height() / 2));
    caps.setBottom(std::min(caps.bottom(), frame.height() / 2));
    // The source is measured in the pixmap's own pixels, the target in points.
    const QMargins source = capInsetsForImageSize(size) * pixmap.devicePixelRatio();
    qDrawBorderPixmap(&painter, frame, caps, pixmap, pixmap.rect(), source,
                      QTileRules(Qt::StretchTile, Qt::StretchTile));
}
