#include "shortcut/widgets/SRSharedImageProvider.h"

#include <QCoreApplication>
#include <QHash>
#include <QPainter>
#include <QPainterPath>
#include <QPointer>

namespace {

constexpr qreal kScale = 2.0;

QPixmap blankImage()
{
    QPixmap image(int(SRSharedImageProvider::kImageSize * kScale), int(SRSharedImageProvider::kImageSize * kScale));
    image.setDevicePixelRatio(kScale);
    image.fill(Qt::transparent);
    return image;
}

// A round grey button with a white cross.
QPixmap removeImage(const QColor& disc)
{
    QPixmap image = blankImage();
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal size = SRSharedImageProvider::kImageSize;
    painter.setPen(Qt::NoPen);
    painter.setBrush(disc);
    painter.drawEllipse(QRectF(0, 0, size, size));
    painter.setPen(QPen(Qt::white, 1.6, Qt::SolidLine, Qt::RoundCap));
    const qreal a = size * 0.32;
    const qreal b = size - a;
    painter.drawLine(QPointF(a, a), QPointF(b, b));
    painter.drawLine(QPointF(a, b), QPointF(b, a));
    return image;
}

// A round button with a white arrow turning back to the left.
QPixmap snapbackImage()
{
    QPixmap image = blankImage();
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal size = SRSharedImageProvider::kImageSize;
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0x5b, 0x7f, 0xb5));
    painter.drawEllipse(QRectF(0, 0, size, size));

    const QRectF arc(size * 0.28, size * 0.28, size * 0.46, size * 0.44);
    QPainterPath path;
    path.arcMoveTo(arc, 150);
    path.arcTo(arc, 150, -240);
    painter.setPen(QPen(Qt::white, 1.5, Qt::SolidLine, Qt::RoundCap));
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(path);
    // The arrow head at the start of the arc, pointing down-left.
    const QPointF tip = path.pointAtPercent(0.0);
    QPainterPath head;
    head.moveTo(tip + QPointF(-1.9, 1.2));
    head.lineTo(tip + QPointF(2.1, 0.9));
    head.lineTo(tip + QPointF(-0.3, -2.6));
    head.closeSubpath();
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::white);
    painter.drawPath(head);
    return image;
}

QPixmap drawImage(const QString& name)
{
    if (name == QStringLiteral("SRRemoveShortcut")) {
        return removeImage(QColor(0xa8, 0xa8, 0xa8));
    }
    if (name == QStringLiteral("SRRemoveShortcutRollover")) {
        return removeImage(QColor(0x88, 0x88, 0x88));
    }
    if (name == QStringLiteral("SRRemoveShortcutPressed")) {
        return removeImage(QColor(0x60, 0x60, 0x60));
    }
    if (name == QStringLiteral("SRSnapback")) {
        return snapbackImage();
    }
    return QPixmap();
}

// Pixmaps must go before the application does, so the cache is one of its
// children.
class ImageCache : public QObject
{
public:
    using QObject::QObject;
    QHash<QString, QPixmap> images;
};

} // namespace

QPixmap SRSharedImageProvider::supportingImageWithName(const QString& name)
{
    static QPointer<ImageCache> cache;
    if (!cache) {
        cache = new ImageCache(QCoreApplication::instance());
    }
    const auto found = cache->images.constFind(name);
    if (found != cache->images.constEnd()) {
        return found.value();
    }
    const QPixmap image = drawImage(name);
    if (!image.isNull()) {
        cache->images.insert(name, image);
    }
    return image;
}
