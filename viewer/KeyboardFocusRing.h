#pragma once

#include <QQuickPaintedItem>

namespace lumvik {

/// The shape of what a KeyboardFocusRing surrounds.
struct OutlinedShape {
    QRectF bounds; // in points, in the coordinates of the outlined control
    qreal cornerRadius = 0;
};

/// The ring around the control that has the keyboard: white between two dark lines, so that it is
/// seen over dark pictures and light ones and beside a control of any colour. It is a child of its
/// control, fades with it, and takes no part in what the pointer does. Main thread only.
class KeyboardFocusRing final : public QQuickPaintedItem {
    Q_OBJECT

  public:
    /// How far the ring reaches beyond what it surrounds, in points: less than the gap between two
    /// controls.
    static constexpr qreal reach = 4;

    /// Not shown at first.
    explicit KeyboardFocusRing(QQuickItem *control);

    void surround(const OutlinedShape &shape);

    void paint(QPainter *painter) override;

  private:
    qreal m_cornerRadius = 0;
};

} // namespace lumvik
