#include "style/ApplicationIcon.h"

#include <QIconEngine>
#include <QPainter>
#include <QPixmap>
#include <QSvgRenderer>

#include <algorithm>

static void initialiseResources() {
    Q_INIT_RESOURCE(lumvik_icons);
}

namespace lumvik {

namespace {

/// The largest size at which the details of the full drawing would be too small to see.
constexpr int largestSimpleSize = 24;

/// Renders the SVG files directly, because Qt's SVG icon engine is a plugin that may not be
/// installed.
class ApplicationIconEngine final : public QIconEngine {
  public:
    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode,
               QIcon::State state) override {
        const qreal scale = painter->combinedTransform().m11();
        painter->drawPixmap(rect, pixmap((QSizeF(rect.size()) * scale).toSize(), mode, state));
    }
    QPixmap pixmap(const QSize &size, QIcon::Mode, QIcon::State) override {
        return QPixmap::fromImage(applicationIconImage(std::min(size.width(), size.height())));
    }
    /// The sizes offered to window managers. Larger ones would cost memory in the display server
    /// for every window.
    QList<QSize> availableSizes(QIcon::Mode, QIcon::State) override {
        return {{16, 16}, {24, 24}, {32, 32}, {48, 48}, {64, 64}, {128, 128}};
    }
    QSize actualSize(const QSize &size, QIcon::Mode, QIcon::State) override {
        const int side = std::min(size.width(), size.height());
        return {side, side};
    }
    [[nodiscard]] QIconEngine *clone() const override { return new ApplicationIconEngine; }
};

} // namespace

QImage applicationIconImage(int pixels) {
    static const bool initialised = [] {
        initialiseResources();
        return true;
    }();
    Q_UNUSED(initialised)
    QSvgRenderer renderer(pixels <= largestSimpleSize
                              ? QStringLiteral(":/icons/com.tandrel.Lumvik-small.svg")
                              : QStringLiteral(":/icons/com.tandrel.Lumvik.svg"));
    QImage image(QSize(pixels, pixels).expandedTo({1, 1}), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    renderer.render(&painter, QRectF(image.rect()));
    return image;
}

QIcon applicationIcon() {
    return QIcon(new ApplicationIconEngine); // The icon takes ownership.
}

} // namespace lumvik
