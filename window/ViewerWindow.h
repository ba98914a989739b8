#pragma once

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

/// How a window stands to others: among them, or above those that are not floating.
enum class WindowLevel { normal, floating };

/// What a ViewerWindow reports, each on the main thread. The receiver holds itself weakly.
struct ViewerWindowDelegate {
    std::function<void()> didMove;
    std::function<void()> didResize;
    /// The window entered or left full screen, was maximised, minimised or restored. Comes before
    /// or after the `didMove` and `didResize` of the same change.
    std::function<void()> didChangeState;
    /// The user or the window manager asked for the window to close, or `performClose` was called.
    /// The window is hidden after this returns.
    std::function<void()> willClose;
    /// A key was pressed that no item took; answers whether it was used. A key goes to the item
    /// with the focus and up through its parents first, and only then here: no item above the
    /// picture takes the keys of the main menu, whichever has the focus.
    std::function<bool(QKeyEvent &)> keyDown;
    /// A button of the mouse was pressed over the window; comes before the item under it hears.
    std::function<void()> mouseDown;
    /// The window's graphics cannot be set up or were lost for good; the text is Qt's.
    std::function<void(const QString &)> graphicsFailed;
};

/// A frame, and the available area of its screen at the time, in points.
struct WindowPlace {
    QRect frame;
    QRect screenArea;

    friend bool operator==(const WindowPlace &, const WindowPlace &) = default;
};

/// The borderless, black window of the viewer: its shape, level, remembered frame and closing.
/// It holds no controls and knows nothing of cameras; those are items in it. Main thread only.
class ViewerWindow final : public QQuickWindow {
    Q_OBJECT

  public:
    /// The smallest content of a window that shows a whole picture, in points.
    static constexpr QSize minimumViewerSize{480, 270};

    explicit ViewerWindow(ViewerWindowDelegate delegate);
    ~ViewerWindow() override;

    /// Keeps the content in this shape from now on, and takes it on at once around the window's
    /// centre. An empty ratio frees the shape.
    void setContentAspectRatio(ContentAspectRatio ratio);
    [[nodiscard]] ContentAspectRatio contentAspectRatio() const { return m_ratio; }

    /// Puts the window above others or among them, without re-creating, hiding or moving it.
    void setLevel(WindowLevel level);
    [[nodiscard]] WindowLevel level() const;

    /// The frame that is worth remembering: the one from before while its screen is gone, else
    /// `frame`. Where windows do not know their place it is in the restored one, and in the
    /// restored size as long as it was only made smaller for the screen.
    [[nodiscard]] QRect rememberedFrame() const;
    /// The text from which `setFrameFromString` restores this frame (see WindowFrame.h).
    [[nodiscard]] QString savedFrame() const;
    /// Moves and sizes the window, and keeps that shape; false, without effect, when the text is no
    /// frame.
    bool setFrameFromString(const QString &text);
    /// Centres the window on its screen.
    void centre();

    /// The frame that the window has or, after `setFrame`, is on its way to, in points.
    [[nodiscard]] QRect frame() const;
    /// Moves and sizes the window in a short animation, which a press of the mouse brings to its
    /// end. A window in full screen, maximised or minimised takes the frame when it is back.
    ///
    /// A frame that lies on no screen is moved onto one. On the way the window manager is not asked
    /// to keep the shape, and its news of the way are not believed: on a busy desktop they arrive
    /// long after the end.
    void setFrame(const QRect &frame);
    /// Where the window belongs: the frame that it has or is on its way to or, while it stands
    /// there only for want of its screen, its own.
    [[nodiscard]] WindowPlace place() const;
    /// `setFrame` with a place from earlier: what was whole there is shown whole, and goes where it
    /// was once the screen is so again.
    void restorePlace(const WindowPlace &place);
    /// The smallest size that the content may have, in points, from the end of an animation on.
    void setSmallestSize(const QSize &size);
    /// The part of the window's screen that panels leave free.
    [[nodiscard]] QRect visibleArea() const;

    /// Whether programs place their windows and keep them on top here: everywhere but under
    /// Wayland.
    [[nodiscard]] static bool isPlacedByProgram();

    /// Whether the window's size and place are the user's choice: not in full screen, not maximised
    /// and not minimised.
    [[nodiscard]] bool hasOrdinaryFrame() const;

    void toggleFullScreen();
    /// Maximises the window by the desktop's own means, or brings it back. Does nothing in full
    /// screen and to a minimised window.
    void toggleMaximized();

    /// Closes the window as if its close button had been pressed.
    void performClose();

    /// Runs `action` once the window's first frame has been drawn, in a later turn: outside the
    /// drawing itself, and also if the frame has been drawn already.
    void whenFirstDrawn(std::function<void()> action);

  protected:
    bool event(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void moveEvent(QMoveEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

  private:
    struct RestoredFrame {
        QRect frame;
        std::optional<QRect> screenArea; // if it is known
        QSize shownSize;                 // on the screens there are now
    };

    void correctShape();
    void finishFrameAnimation();
    void frameAnimationEnded();
    void frameSettled();
    void geometryWasReported();
    /// Somebody else, the user or the window manager, has another frame in mind.
    void giveUpRequestedFrame();
    [[nodiscard]] static QRect onScreens(const QRect &frame);
    /// `setFrame` without a word about whose choice the frame is.
    void goToFrame(const QRect &frame);
    void stateChanged();
    void followScreens();
    /// Lets a menu that is open have what is meant for it. Whether that was done.
    bool giveToOpenMenu(QEvent &event);
    void mouseButtonPressed(Qt::MouseButton button);
    /// Tells assistive technology whether this is the window that the user works in.
    void reportActivity();
    [[nodiscard]] bool isOnItsWay() const {
        return m_frameAnimation.state() == QAbstractAnimation::Running;
    }

    ViewerWindowDelegate m_delegate;
    X11SizeHints m_sizeHints;
    ContentAspectRatio m_ratio;
    ShapeCorrection m_shapeCorrection;
    QTimer m_sizeSettled; // fires when sizes have stopped arriving
    QVariantAnimation m_frameAnimation;
    /// Where the animation leads, until nothing has been heard of the window manager for a moment.
    std::optional<QRect> m_requestedFrame;
    QRect m_wayBegan; // the frame in which the animation began
    bool m_requestWasRepeated = false;
    QTimer m_frameSettled;                // fires when that moment is over
    QSize m_smallestSize;                 // the smallest size once the animation has ended
    std::optional<QRect> m_ordinaryFrame; // to be taken when the window's frame is ordinary again
    /// The frame from the last time, where windows do not know their place.
    std::optional<RestoredFrame> m_restored;
    std::unique_ptr<ScreenFollower> m_screens; // null where the program places no windows
    std::function<void()> m_firstDrawn;
    bool m_wasDrawn = false;
    bool m_isClosing = false;
};

} // namespace lumvik
