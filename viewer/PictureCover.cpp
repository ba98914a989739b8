#include "viewer/PictureCover.h"

#include <QPainter>

#include <utility>

namespace lumvik {

namespace {

/// A darkened picture keeps 40 % of its brightness. What it shows can still be recognised, but
/// nobody takes it for a live picture.
constexpr float darkeningAlpha = 0.6F;

} // namespace

PictureCover::PictureCover(QQuickItem *parent) : QQuickPaintedItem(parent) {
    setVisible(false);
}

void PictureCover::setPicture(const QImage &picture) {
    if (m_picture.isNull() && picture.isNull())
        return;
    m_picture = picture;
    changed();
}

void PictureCover::setDarkened(bool isDarkened) {
    if (std::exchange(m_isDarkened, isDarkened) != isDarkened)
        changed();
}

void PictureCover::changed() {
    setVisible(hasPicture() || m_isDarkened);
    update();
}

void PictureCover::paint(QPainter *painter) {
    const QRectF bounds = boundingRect();
    if (hasPicture()) {
        painter->fillRect(bounds, Qt::black);
        QRectF target(QPointF(),
                      QSizeF(m_picture.size()).scaled(bounds.size(), Qt::KeepAspectRatio));
        target.moveCenter(bounds.center());
        painter->setRenderHint(QPainter::SmoothPixmapTransform);
        painter->drawImage(target, m_picture);
    }
    if (m_isDarkened)
        painter->fillRect(bounds, QColor::fromRgbF(0, 0, 0, darkeningAlpha));
}

} // namespace lumvik
