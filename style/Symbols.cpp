#include "style/Symbols.h"

#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>
#include <QtDebug>

static void initialiseResources() {
    Q_INIT_RESOURCE(lumvik_symbols);
}

namespace lumvik {

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
    const bool wasSmooth = painter.testRenderHint(QPainter::SmoothPixmapTransform);
    painter.setRenderHint(QPainter::SmoothPixmapTransform); // for fractional scales
    painter.drawImage(rect, image);
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
