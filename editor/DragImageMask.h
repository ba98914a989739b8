#pragma once

#include <QObject>
#include <QRegion>

namespace lumvik {

/// Gives the window in which Qt shows the picture of a drag a mask while this object exists. Where
/// no compositor blends windows, Qt fills this window with a colour, so the round corners of the
/// picture would be coloured, too. Create the object before QDrag::exec(). Main thread only.
class DragImageMask final : public QObject {
    Q_OBJECT

  public:
    /// `mask` is in points from the top left corner of the picture.
    explicit DragImageMask(const QRegion &mask);

    bool eventFilter(QObject *watched, QEvent *event) override;

  private:
    QRegion m_mask;
};

} // namespace lumvik
