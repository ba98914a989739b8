#pragma once

#include <QAction>
#include <QMenu>
#include <QPointer>
#include <QProxyStyle>
#include <QSize>
#include <QString>

#include <functional>

namespace lumvik {

/// Draws one row of the camera picker's menu in the viewer's dark style: a rounded highlight, a
/// check mark for the camera that is shown, and the camera's name. Main thread only.
class MirelCameraMenuItemView {
  public:
    /// The size of a row, in points.
    static constexpr QSize size{210, 28};

    /// Draws `item`. `handler` runs when the user chooses the item, after the menu has closed.
    MirelCameraMenuItemView(QAction *item, const QString &name, std::function<void()> handler);

    void draw(QPainter &painter, const QRectF &bounds, bool isHighlighted) const;

    /// Called when the user chooses the row. Closes the menu at once and runs the handler.
    void activate() const;

    QPointer<QAction> menuItem; ///< The item that this view draws.
    bool isSelected = false;    ///< Whether this row is the camera that is shown.
    std::function<void()> activationHandler;

  private:
    QString m_name; // without the doubled ampersands of the item's text
};

/// Draws the camera picker's menu around its rows, which draw themselves. The menu looks the same
/// in every desktop theme, like the controls over the picture, and has round corners like the
/// picker. The menu must have a translucent background. Where no compositor blends windows, the
/// mask of the menu removes the corners.
class CameraMenuStyle final : public QProxyStyle {
    Q_OBJECT

  public:
    /// Returns the view that draws a menu item, or null if the item has none.
    using ViewOfItem = std::function<const MirelCameraMenuItemView *(const QAction *)>;

    /// The radius of the menu's corners and of the picker's, in points.
    static constexpr qreal cornerRadius = 8;

    explicit CameraMenuStyle(ViewOfItem viewOfItem);

    using QProxyStyle::polish;
    void polish(QWidget *widget) override;
    void drawControl(ControlElement element, const QStyleOption *option, QPainter *painter,
                     const QWidget *widget) const override;
    void drawPrimitive(PrimitiveElement element, const QStyleOption *option, QPainter *painter,
                       const QWidget *widget) const override;
    [[nodiscard]] QSize sizeFromContents(ContentsType type, const QStyleOption *option,
                                         const QSize &size, const QWidget *widget) const override;
    [[nodiscard]] int pixelMetric(PixelMetric metric, const QStyleOption *option,
                                  const QWidget *widget) const override;
    [[nodiscard]] int styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
                                QStyleHintReturn *result) const override;

  private:
    /// Sets the mask of a menu with this option's rectangle.
    static bool maskMenu(const QStyleOption *option, QStyleHintReturn *result);

    ViewOfItem m_viewOfItem;
};

} // namespace lumvik
