#pragma once

#include <QImage>
#include <QQuickPaintedItem>

namespace lumvik {

/// Lies directly over the video and shows that the picture is not live: keeps the last picture of a
/// stream that has ended, and darkens a picture that has stood still for some seconds. Hidden while
/// it does neither, so that a live picture costs nothing. Main thread only.
class PictureCover final : public QQuickPaintedItem {
    Q_OBJECT

  public:
    explicit PictureCover(QQuickItem *parent);

    /// Shows `picture`, fitted into the cover, over the video. A null image shows the video again.
    void setPicture(const QImage &picture);
    [[nodiscard]] bool hasPicture() const { return !m_picture.isNull(); }
    /// Darkens the kept picture, or the video if there is none.
    void setDarkened(bool isDarkened);
    [[nodiscard]] bool isDarkened() const { return m_isDarkened; }

    void paint(QPainter *painter) override;

  private:
    void changed();

    QImage m_picture;
    bool m_isDarkened = false;
};

} // namespace lumvik
