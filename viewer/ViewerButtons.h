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

/// "Focus on an Area".
class FocusViewerButton final : public ViewerButton {
    Q_OBJECT

  public:
    explicit FocusViewerButton(QQuickItem *parent);

  private:
    [[nodiscard]] QColor fillColour() const override;
    [[nodiscard]] QString symbolName() const override;
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
