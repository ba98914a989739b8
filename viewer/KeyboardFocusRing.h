#pragma once

#include <QQuickPaintedItem>

namespace lumvik {

/// The shape that a KeyboardFocusRing surrounds.
struct OutlinedShape {
    QRectF bounds; // in points, in the coordinates of the outlined control
    qreal cornerRadius = 0;
};

/// The ring around the control that has the keyboard focus. The ring is white between two dark
/// lines, so that it is visible over dark and bright pictures and next to a control of any colour.
/// The ring is a child of its control, fades together with it, and ignores the pointer. Main thread
/// only.
class KeyboardFocusRing final : public QQuickPaintedItem {
    Q_OBJECT

  public:
    /// How far the ring extends beyond the shape, in points. The reach of the ring is less than the
    /// gap between two controls.
    static constexpr qreal reach = 4;

    /// The ring is hidden at first.
    explicit KeyboardFocusRing(QQuickItem *control);

    void surround(const OutlinedShape &shape);

    void paint(QPainter *painter) override;

  private:
    qreal m_cornerRadius = 0;
};

} // namespace lumvik
