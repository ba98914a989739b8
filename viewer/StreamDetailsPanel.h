#pragma once

#include "supervision/StreamDetails.h"
#include "viewer/SpokenItem.h"

#include <QSizeF>

namespace lumvik {

/// The table of stream details, in the upper right corner of the picture, below the controls. It
/// receives no clicks. Main thread only.
class StreamDetailsPanel final : public SpokenItem {
    Q_OBJECT

  public:
    using SpokenItem::SpokenItem;

    void setRows(const QList<StreamDetailsRow> &rows);
    [[nodiscard]] const QList<StreamDetailsRow> &rows() const { return m_rows; }
    /// Places the panel in a content of the size `content`, below `controlsBottom` (in points). The
    /// last rows are left out if there is no room for all of them.
    void layOut(const QSizeF &content, qreal controlsBottom);

    void paint(QPainter *painter) override;

  private:
    void place();

    QList<StreamDetailsRow> m_rows;
    QSizeF m_content;
    qreal m_controlsBottom = 0;
    qreal m_naturalWidth = 0; // never shrinks, so that the panel does not twitch with its values
};

} // namespace lumvik
