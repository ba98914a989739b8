#pragma once

#include <QAction>
#include <QMenu>
#include <QPointer>
#include <QProxyStyle>
#include <QSize>
#include <QString>

#include <functional>

namespace lumvik {

/// Draws one row of the camera picker's menu, to match the viewer's dark look: a rounded highlight,
/// a check mark on the camera that is shown, and the camera's name. Main thread only.
class MirelCameraMenuItemView {
  public:
    /// A row's size, in points.
    static constexpr QSize size{210, 28};

    /// Draws `item`; `handler` runs when it is chosen, with the menu closed.
    MirelCameraMenuItemView(QAction *item, const QString &name, std::function<void()> handler);

    void draw(QPainter &painter, const QRectF &bounds, bool isHighlighted) const;

    /// What choosing the row does: closes the menu at once and runs the handler.
    void activate() const;

    QPointer<QAction> menuItem; ///< The item that this view draws.
    bool isSelected = false;    ///< Whether it is the camera that is shown.
    std::function<void()> activationHandler;

  private:
    QString m_name; // the item's own text has its ampersands doubled
};

/// The look of the camera picker's menu around its rows, which draw themselves. It is the same in
/// every desktop theme, as the picture and the controls over it are.
class CameraMenuStyle final : public QProxyStyle {
    Q_OBJECT

  public:
    /// Finds the view of a menu's item; null for one that has none.
    using ViewOfItem = std::function<const MirelCameraMenuItemView *(const QAction *)>;

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
    ViewOfItem m_viewOfItem;
};

} // namespace lumvik
