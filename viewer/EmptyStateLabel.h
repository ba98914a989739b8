#pragma once

#include "viewer/ViewerControl.h"

#include <QQuickPaintedItem>

#include <functional>

namespace lumvik {

/// Words in the message of the empty state that can be clicked. The message draws the words; this
/// control only shows what the pointer does.
class EmptyStateLink final : public ViewerControl {
    Q_OBJECT

  public:
    EmptyStateLink(const QString &words, QQuickItem *message);

    /// Places the link over its words. `rectangles`, one per line, are in the coordinates of the
    /// message, in points. Without a rectangle, the link is hidden.
    void surround(const QList<QRectF> &rectangles);

    [[nodiscard]] bool contains(const QPointF &point) const override;
    void paint(QPainter *painter) override;

  protected:
    void hoverEnterEvent(QHoverEvent *event) override;
    [[nodiscard]] OutlinedShape outlinedShape() const override;
    [[nodiscard]] bool showsLabel() const override { return true; }

  private:
    QList<QRectF> m_rectangles; // in the coordinates of the link
};

/// The message in the middle of the viewer while there is no camera to show. The text wraps at the
/// width of the label, into lines of about the same length. Main thread only.
class EmptyStateLabel final : public QQuickPaintedItem {
    Q_OBJECT

  public:
    /// The label is above its siblings with the z value 0, so that its links receive clicks. The
    /// rest of the label lets all events through.
    explicit EmptyStateLabel(QQuickItem *parent);

    /// Sets the text, which is plain text without addresses of cameras. Each "\n" begins a new
    /// line. The caller then places the label again, because the height depends on the text.
    void setText(const QString &text);
    [[nodiscard]] const QString &text() const { return m_text; }

    /// Makes `words` a link that runs `action` wherever the text contains them. Only their first
    /// occurrence in the text counts. A link is a control of its own, which the pointer, the
    /// keyboard and assistive technology can reach. The label owns the link.
    void addLink(const QString &words, std::function<void()> action);
    /// Returns the links in the order in which they were added. Links without words are hidden.
    [[nodiscard]] QList<ViewerControl *> links() const;

    /// Returns the height of the text when it is wrapped at `width` (both in points).
    [[nodiscard]] qreal heightForWidth(qreal width) const;

    void paint(QPainter *painter) override;

  protected:
    void geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry) override;
    void itemChange(ItemChange change, const ItemChangeData &value) override;

  private:
    /// Returns the text in which no line breaks separate the words of a link, if `width` permits.
    [[nodiscard]] QString textForWidth(qreal width) const;
    void placeLinks();

    QString m_text;
    QList<EmptyStateLink *> m_links; // children
};

} // namespace lumvik
