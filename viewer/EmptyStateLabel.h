#pragma once

#include <QQuickPaintedItem>

namespace lumvik {

/// The message in the middle of the viewer while there is no camera to show. The text wraps at the
/// width of the label.
class EmptyStateLabel final : public QQuickPaintedItem {
    Q_OBJECT

  public:
    explicit EmptyStateLabel(QQuickItem *parent);

    /// Sets the text, which is plain text without addresses of cameras. The caller then places the
    /// label again, because the height depends on the text.
    void setText(const QString &text);
    [[nodiscard]] const QString &text() const { return m_text; }

    /// Returns the height of the text when it is wrapped at `width` (both in points).
    [[nodiscard]] qreal heightForWidth(qreal width) const;

    void paint(QPainter *painter) override;

  protected:
    void itemChange(ItemChange change, const ItemChangeData &value) override;

  private:
    QString m_text;
};

} // namespace lumvik
