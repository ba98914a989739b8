#pragma once

#include "window/ChosenFrame.h"
#include "window/ContentAspectRatio.h"
#include "window/ScreenFollower.h"
#include "window/ShapeCorrection.h"
#include "window/X11SizeHints.h"

#include <QQuickWindow>
#include <QTimer>
#include <QVariantAnimation>

#include <functional>
#include <memory>
#include <optional>

namespace lumvik {

/// The stacking level of a window. A floating window stays above normal ones.
enum class WindowLevel { normal, floating };

/// The callbacks of a ViewerWindow, all called on the main thread. The callbacks should hold their
/// receiver only weakly.
struct ViewerWindowDelegate {
    std::function<void()> didMove;
    std::function<void()> didResize;
    /// The window entered or left full screen, or was maximised, minimised or restored. The call
    /// may come before or after the `didMove` and `didResize` of the same change.
    std::function<void()> didChangeState;
    /// The user or the window manager asked for the window to close, or `performClose` was called.
    /// The window is hidden after this callback has returned.
    std::function<void()> willClose;
    /// A key was pressed that no item accepted. Returns whether the key was used. A key event goes
    /// to the focused item and its parents first. The items over the picture do not accept the keys
    /// of the main menu, so this callback receives these keys whichever item has the focus.
    std::function<bool(QKeyEvent &)> keyDown;
    /// A mouse button was pressed over the window. Called before the item under the pointer
    /// receives the press.
    std::function<void()> mouseDown;
    /// The window's graphics could not be initialised or were permanently lost. The argument is
    /// Qt's error message.
    std::function<void(const QString &)> graphicsFailed;
};

/// A window frame together with the available area of its screen at the same time, in points.
struct WindowPlace {
    QRect frame;
    QRect screenArea;

    friend bool operator==(const WindowPlace &, const WindowPlace &) = default;
};

/// The borderless, black window of the viewer. The window manages its own aspect ratio, stacking
/// level, remembered frame and closing. The picture and the controls are items in the window; this
/// class does not depend on these items. Main thread only.
class ViewerWindow final : public QQuickWindow {
    Q_OBJECT

  public:
    /// The minimum content size of a window that shows the full picture, in points.
    static constexpr QSize minimumViewerSize{480, 270};

    explicit ViewerWindow(ViewerWindowDelegate delegate);
    ~ViewerWindow() override;

    /// Sets the aspect ratio that the content keeps from now on. The window is resized to this
    /// ratio at once, around the centre and with the area of the frame that the user has chosen
    /// (see ChosenFrame). An empty ratio allows any shape.
    void setContentAspectRatio(ContentAspectRatio ratio);
    [[nodiscard]] ContentAspectRatio contentAspectRatio() const { return m_ratio; }

    /// Shows the window for the first time, without taking the keyboard from another window where
    /// the window manager permits that.
    void showWithoutActivating();

    /// Sets the stacking level without re-creating, hiding or moving the window.
    void setLevel(WindowLevel level);
    [[nodiscard]] WindowLevel level() const;

    /// Returns the frame to remember: `frame()`, or the window's own frame while the window has a
    /// temporary frame because its screen is gone. Where the program does not place windows, the
    /// result has the restored position, and also the restored size as long as the window was only
    /// reduced to fit the screen.
    [[nodiscard]] QRect rememberedFrame() const;
    /// Returns the remembered frame as text for `setFrameFromString` (see WindowFrame.h).
    [[nodiscard]] QString savedFrame() const;
    /// Moves and resizes the window to the frame in `text`, and keeps the aspect ratio of that
    /// frame. Returns false, without effect, if the text contains no valid frame.
    bool setFrameFromString(const QString &text);
    /// Centres the window on its screen.
    void centre();

    /// Returns the frame that the window has or, after `setFrame`, is going to have, in points.
    [[nodiscard]] QRect frame() const;
    /// Moves and resizes the window in a short animation. Pressing a mouse button completes the
    /// animation at once. A window that is in full screen, maximised or minimised takes the frame
    /// once it has left that state.
    ///
    /// A frame that is on no screen is moved onto one. During the animation the window manager is
    /// not asked to keep the aspect ratio. The frames of the animation that the window manager
    /// reports back are ignored, because on a busy desktop these reports arrive long after the end
    /// of the animation.
    void setFrame(const QRect &frame);
    /// Returns where the window belongs: `frame()`, or the window's own frame while `frame()` is a
    /// temporary one because the screen is gone.
    [[nodiscard]] WindowPlace place() const;
    /// Like `setFrame`, but for a place that was recorded earlier. A window that was completely
    /// visible at that place is shown completely again. If the window's screen has changed since,
    /// the window returns to the recorded frame once the screen is as it was.
    void restorePlace(const WindowPlace &place);
    /// Sets the minimum size of the content, in points. A running animation ends before the new
    /// minimum takes effect. Where a window with the current aspect ratio would not fit on its
    /// screen at this size, the minimum is smaller.
    void setSmallestSize(const QSize &size);
    /// Returns the part of the window's screen that panels leave free.
    [[nodiscard]] QRect visibleArea() const;

    /// Returns whether programs can place their windows and keep them on top. Programs can do so
    /// everywhere except under Wayland.
    [[nodiscard]] static bool isPlacedByProgram();

    /// Returns whether the user chooses the window's size and position: the window is not in full
    /// screen, not maximised and not minimised.
    [[nodiscard]] bool hasOrdinaryFrame() const;

    void toggleFullScreen();
    /// Maximises the window through the window manager, or restores it. Does nothing if the window
    /// is in full screen or minimised.
    void toggleMaximized();

    /// Closes the window as if its close button had been pressed.
    void performClose();

    /// Calls `action` from the event loop once the window has been drawn for the first time. If the
    /// window has already been drawn, `action` runs in a later turn of the event loop. `action`
    /// never runs during the drawing itself.
    void whenFirstDrawn(std::function<void()> action);

  protected:
    bool event(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void moveEvent(QMoveEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

  private:
    struct RestoredFrame {
        QRect frame;
        std::optional<QRect> screenArea; // if the area is known
        QSize shownSize;                 // the size that fits the current screens
    };

    void correctShape();
    void finishFrameAnimation();
    void frameAnimationEnded();
    void frameSettled();
    void geometryWasReported();
    /// Forgets the requested frame, because it was reached or refused, or because the user or the
    /// window manager wants a different one.
    void giveUpRequestedFrame();
    [[nodiscard]] static QRect onScreens(const QRect &frame);
    /// Like `setFrame`, but does not record the frame as the window's own.
    void goToFrame(const QRect &frame);
    void stateChanged();
    void applySmallestSize();
    void followScreens();
    /// Lets an open menu handle the event if the event is meant for the menu. Returns whether the
    /// event was meant for the menu.
    bool forwardToOpenMenu(QEvent &event);
    void mouseButtonPressed(Qt::MouseButton button);
    /// Reports to assistive technology whether this is the active window.
    void reportActivity();
    [[nodiscard]] bool isBeingAnimated() const {
        return m_frameAnimation.state() == QAbstractAnimation::Running;
    }

    ViewerWindowDelegate m_delegate;
    X11SizeHints m_sizeHints;
    ContentAspectRatio m_ratio;
    ChosenFrame m_chosenFrame;
    ShapeCorrection m_shapeCorrection;
    QTimer m_sizeSettled; // fires when the size has not changed for a moment
    QVariantAnimation m_frameAnimation;
    /// The target of the animation. The target is reset when the window manager has reported no
    /// frame for a moment after the end of the animation.
    std::optional<QRect> m_requestedFrame;
    QRect m_animationStart;
    bool m_requestWasRepeated = false;
    QTimer m_frameSettled; // fires when m_requestedFrame is to be reset
    QSize m_smallestSize;  // the minimum size once the animation has ended
    /// The frame that the window takes when it is no longer in full screen, maximised or minimised.
    std::optional<QRect> m_ordinaryFrame;
    /// The frame restored by `setFrameFromString`, where the program does not place windows.
    std::optional<RestoredFrame> m_restored;
    std::unique_ptr<ScreenFollower> m_screens; // null where the program does not place windows
    std::function<void()> m_firstDrawn;
    bool m_wasDrawn = false;
    bool m_isClosing = false;
};

} // namespace lumvik
