#pragma once

#include <QQuickPaintedItem>

namespace lumvik {

/// The message in the middle of the viewer while no camera is configured. The text wraps at the
/// width of the label.
class EmptyStateLabel final : public QQuickPaintedItem {
    Q_OBJECT

  public:
    explicit EmptyStateLabel(QQuickItem *parent);

    /// The text of the message.
    [[nodiscard]] static QString text();

    /// Returns the height of the text when it is wrapped at `width` (both in points).
    [[nodiscard]] static qreal heightForWidth(qreal width);

    void paint(QPainter *painter) override;

  protected:
    void itemChange(ItemChange change, const ItemChangeData &value) override;
};

} // namespace lumvik
