#include "style/Symbols.h"

#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>
#include <QtDebug>

#include <cmath>

static void initialiseResources() {
    Q_INIT_RESOURCE(lumvik_symbols);
}

namespace lumvik {

namespace {

/// Returns the edge between two pixels that is nearest to `position`. A position in the middle of a
/// pixel moves to the left or upwards, where the eye expects the centre of a button.
QPointF nearestPixelEdge(const QPointF &position) {
    return {std::ceil(position.x() - 0.5), std::ceil(position.y() - 0.5)};
}

} // namespace

namespace Symbols {

void draw(QPainter &painter, const QString &name, const QRectF &rect, const QColor &colour) {
    static const bool initialised = [] {
        initialiseResources();
        return true;
    }();
    Q_UNUSED(initialised)
    QSvgRenderer renderer(QStringLiteral(":/symbols/%1.svg").arg(name));
    if (!renderer.isValid()) {
        qWarning("There is no symbol named %s.", qPrintable(name));
        return;
    }
    renderer.setAspectRatioMode(Qt::KeepAspectRatio);

    // The white drawings serve as a mask for the colour, at the painter's own scale.
    const qreal scale = painter.combinedTransform().m11();
    const QSize pixels = (rect.size() * scale).toSize().expandedTo(QSize(1, 1));
    QImage image(pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter imagePainter(&image);
    renderer.render(&imagePainter, QRectF(QPointF(), QSizeF(pixels)));
    imagePainter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    imagePainter.fillRect(image.rect(), colour);
    imagePainter.end();
    // The pixels of the image are the pixels of the device. An image that is drawn half a pixel
    // beside them would be blurred, which is most visible at scale 1.
    const QTransform toPixels = painter.combinedTransform();
    const QPointF corner = nearestPixelEdge(toPixels.map(rect.topLeft()));
    const QRectF target(toPixels.inverted().map(corner), QSizeF(pixels) / scale);
    const bool wasSmooth = painter.testRenderHint(QPainter::SmoothPixmapTransform);
    painter.setRenderHint(QPainter::SmoothPixmapTransform); // for rounding errors of the target
    painter.drawImage(target, image);
    painter.setRenderHint(QPainter::SmoothPixmapTransform, wasSmooth);
}

} // namespace Symbols

QFont systemFont(int points, QFont::Weight weight) {
    QFont font = QGuiApplication::font();
    font.setPixelSize(points);
    font.setWeight(weight);
    return font;
}

} // namespace lumvik
