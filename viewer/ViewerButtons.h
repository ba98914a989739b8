#pragma once

#include "viewer/ViewerControl.h"

#include <QColor>

namespace lumvik {

/// The base class of the viewer's three buttons. A button draws a small white symbol on a dark,
/// translucent, rounded rectangle, so that the symbol is visible over any picture.
class ViewerButton : public ViewerControl {
    Q_OBJECT

  public:
    void paint(QPainter *painter) final;

  protected:
    using ViewerControl::ViewerControl;
    [[nodiscard]] OutlinedShape outlinedShape() const final;

  private:
    [[nodiscard]] virtual QColor fillColour() const = 0;
    [[nodiscard]] virtual QString symbolName() const = 0;
};

/// The toggle button "Stay on Top".
class PinToggleButton final : public ViewerButton {
    Q_OBJECT

  public:
    explicit PinToggleButton(QQuickItem *parent);

    [[nodiscard]] bool isOn() const override { return m_isOn; }
    /// Changes the state without running the action.
    void setOn(bool on);
    /// Dims the button, because Wayland lets no program keep its window above others. The tool tip
    /// says so.
    void setUnavailableOnWayland();

  protected:
    void willPerformAction() override { setOn(!m_isOn); }

  private:
    [[nodiscard]] QColor fillColour() const override;
    [[nodiscard]] QString symbolName() const override;

    bool m_isOn = false;
};

/// The button that starts and cancels the selection of an area and restores the whole picture.
class FocusViewerButton final : public ViewerButton {
    Q_OBJECT

  public:
    explicit FocusViewerButton(QQuickItem *parent);

    /// While an area is shown, the button restores the whole picture and shows a matching symbol.
    void setShowsRestoreIcon(bool shows);
    [[nodiscard]] bool showsRestoreIcon() const { return m_showsRestoreIcon; }
    /// While an area is being selected, the button is darker and cancels the selection.
    void setSelectingArea(bool selects);
    [[nodiscard]] bool isSelectingArea() const { return m_isSelectingArea; }

  private:
    void updateLabel();
    [[nodiscard]] QColor fillColour() const override;
    [[nodiscard]] QString symbolName() const override;

    bool m_showsRestoreIcon = false;
    bool m_isSelectingArea = false;
};

/// The button "Close Camera".
class CloseViewerButton final : public ViewerButton {
    Q_OBJECT

  public:
    explicit CloseViewerButton(QQuickItem *parent);

  private:
    [[nodiscard]] QColor fillColour() const override;
    [[nodiscard]] QString symbolName() const override;
};

} // namespace lumvik
