#include "ui/qt/ImagesFactory.h"

#include <QFileInfo>
#include <QPainter>
#include <QSvgRenderer>
#include <cmath>

#include "platform/Bundle.h"

// The built-in copies live in a resource file compiled into this static
// library; nothing references its initialiser, so it is pulled in by hand.
static void initBuiltInImages() {
    Q_INIT_RESOURCE(Images);
}

ImagesFactory& ImagesFactory::GetInstance() {
    static ImagesFactory* instance = new ImagesFactory();
    return *instance;
}

ImagesFactory::ImagesFactory() {
    initBuiltInImages();
    if (auto bundle = platform::Bundle::mainBundle()) {
        m_sResourcesFolder = QString::fromStdString(bundle->resourcePath());
    }
}

QSvgRenderer* ImagesFactory::rendererNamed(const std::string& name) {
    const QString key = QString::fromStdString(name);
    auto found = m_arrRenderers.constFind(key);
    if (found != m_arrRenderers.constEnd()) return found->get();

    std::shared_ptr<QSvgRenderer> renderer;
    // A name is a plain file name; anything that could leave the folder is
    // no image of ours.
    if (!key.isEmpty() && !key.contains(QLatin1Char('/')) && !key.startsWith(QLatin1Char('.'))) {
        QStringList candidates;
        if (!m_sResourcesFolder.isEmpty()) {
            candidates << m_sResourcesFolder + QLatin1Char('/') + key + QStringLiteral(".svg");
        }
        candidates << QStringLiteral(":/images/") + key + QStringLiteral(".svg");
        for (const QString& path : candidates) {
            if (!QFileInfo::exists(path)) continue;
            auto candidate = std::make_shared<QSvgRenderer>(path);
            if (candidate->isValid()) {
                renderer = candidate;
                break;
            }
        }
    }
    m_arrRenderers.insert(key, renderer);
    return renderer.get();
}

bool ImagesFactory::hasImageNamed(const std::string& name) {
    return rendererNamed(name) != nullptr;
}

QSize ImagesFactory::sizeOfImageNamed(const std::string& name) {
    QSvgRenderer* renderer = rendererNamed(name);
    return renderer ? renderer->defaultSize() : QSize();
}

QPixmap ImagesFactory::pixmapOfImageNamed(const std::string& name, qreal devicePixelRatio,
                                          QSize size) {
    QSvgRenderer* renderer = rendererNamed(name);
    if (!renderer) return QPixmap();
    if (size.isEmpty()) size = renderer->defaultSize();
    if (size.isEmpty() || devicePixelRatio <= 0) return QPixmap();

    const QString key = QStringLiteral("%1@%2x%3@%4")
                            .arg(QString::fromStdString(name))
                            .arg(size.width())
                            .arg(size.height())
                            .arg(devicePixelRatio);
    auto found = m_arrPixmaps.constFind(key);
    if (found != m_arrPixmaps.constEnd()) return *found;

    const QSize pixels(static_cast<int>(std::ceil(size.width() * devicePixelRatio)),
                       static_cast<int>(std::ceil(size.height() * devicePixelRatio)));
    QImage image(pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    {
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        renderer->render(&painter, QRectF(QPointF(0, 0), QSizeF(pixels)));
    }
    QPixmap pixmap = QPixmap::fromImage(image);
    pixmap.setDevicePixelRatio(devicePixelRatio);
    m_arrPixmaps.insert(key, pixmap);
    return pixmap;
}
