#pragma once

#include "viewer/SpokenItem.h"

#include <QRectF>
#include <QSizeF>

namespace lumvik {

/// A small map in the lower right corner of the window: the whole picture, the part of it that is
/// magnified, and by how much. Its owner hides it after a moment. Main thread only.
class ZoomMap final : public SpokenItem {
    Q_OBJECT

  public:
    using SpokenItem::SpokenItem;

    /// `part` is the visible part of the picture, whose corners are (0, 0) and (1, 1). `ratio` is
    /// the picture's width over its height.
    void setPart(const QRectF &part, double ratio, double magnification);
    [[nodiscard]] QRectF part() const { return m_part; }
    /// Places the map in a content of the size `content`, in points.
    void layOut(const QSizeF &content);

    void paint(QPainter *painter) override;

  private:
    void place();

    QRectF m_part{0, 0, 1, 1};
    double m_ratio = 1;
    double m_magnification = 1;
    QSizeF m_content;
};

} // namespace lumvik
