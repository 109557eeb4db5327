#pragma once

#include <QHash>
#include <QPixmap>
#include <QSize>
#include <memory>
#include <string>

class QSvgRenderer;

// The images of the interface, by name without extension
// ("btn_help_Sweepwell"). Each is an SVG looked up first in the main bundle's
// Contents/Resources (so a bundle can carry its own artwork), then among the
// copies built into the program. Images are drawn from their vectors at the
// size and pixel density asked for, never scaled from a bitmap, so they stay
// sharp. Main thread only.
class ImagesFactory {
public:
    static ImagesFactory& GetInstance();

    bool hasImageNamed(const std::string& name);
    // The size the image was drawn at, in device-independent pixels; empty
    // for an unknown name.
    QSize sizeOfImageNamed(const std::string& name);
    // The image at `size` (its own size when empty) for the pixel density; a
    // null pixmap for an unknown name.
    QPixmap pixmapOfImageNamed(const std::string& name, qreal devicePixelRatio,
                               QSize size = QSize());

private:
    ImagesFactory();
    QSvgRenderer* rendererNamed(const std::string& name);

    QString m_sResourcesFolder;
    QHash<QString, std::shared_ptr<QSvgRenderer>> m_arrRenderers;
    QHash<QString, QPixmap> m_arrPixmaps;
};
