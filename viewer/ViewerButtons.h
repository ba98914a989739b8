#pragma once

#include "viewer/ViewerControl.h"

#include <QColor>

namespace lumvik {

/// The common look of the viewer's three buttons: a dark translucent rounded rectangle, readable
/// over any picture, with a small white symbol.
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

/// "Stay on Top": on or off.
class PinToggleButton final : public ViewerButton {
    Q_OBJECT

  public:
    explicit PinToggleButton(QQuickItem *parent);

    [[nodiscard]] bool isOn() const override { return m_isOn; }
    /// Changes the state without running the action.
    void setOn(bool on);

  protected:
    void willPerformAction() override { setOn(!m_isOn); }

  private:
    [[nodiscard]] QColor fillColour() const override;
    [[nodiscard]] QString symbolName() const override;

    bool m_isOn = false;
};

/// Begins and cancels the choice of an area, and brings the whole picture back.
class FocusViewerButton final : public ViewerButton {
    Q_OBJECT

  public:
    explicit FocusViewerButton(QQuickItem *parent);

    /// While an area is shown, the button brings back the whole picture and says so.
    void setShowsRestoreIcon(bool shows);
    [[nodiscard]] bool showsRestoreIcon() const { return m_showsRestoreIcon; }
    /// While an area is being chosen the button is darker, and cancels.
    void setSelectingArea(bool selects);
    [[nodiscard]] bool isSelectingArea() const { return m_isSelectingArea; }

  private:
    void updateLabel();
    [[nodiscard]] QColor fillColour() const override;
    [[nodiscard]] QString symbolName() const override;

    bool m_showsRestoreIcon = false;
    bool m_isSelectingArea = false;
};

/// "Close Camera".
class CloseViewerButton final : public ViewerButton {
    Q_OBJECT

  public:
    explicit CloseViewerButton(QQuickItem *parent);

  private:
    [[nodiscard]] QColor fillColour() const override;
    [[nodiscard]] QString symbolName() const override;
};

} // namespace lumvik
