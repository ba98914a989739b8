#pragma once

#include <QQuickPaintedItem>

namespace lumvik {

/// The message in the middle of the viewer while no camera is configured. It wraps within its
/// width.
class EmptyStateLabel final : public QQuickPaintedItem {
    Q_OBJECT

  public:
    explicit EmptyStateLabel(QQuickItem *parent);

    /// The text of the message.
    [[nodiscard]] static QString text();

    /// The height that the text takes when wrapped to `width`, in points.
    [[nodiscard]] static qreal heightForWidth(qreal width);

    void paint(QPainter *painter) override;

  protected:
    void itemChange(ItemChange change, const ItemChangeData &value) override;
};

} // namespace lumvik
