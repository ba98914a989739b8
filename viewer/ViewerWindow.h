#pragma once

#include "viewer/ContentAspectRatio.h"
#include "viewer/X11SizeHints.h"

#include <QQuickWindow>
#include <QTimer>

#include <functional>

namespace lumvik {

/// How a window stands to others: among them, or above those that are not floating.
enum class WindowLevel { normal, floating };

/// What a ViewerWindow reports, each on the main thread. The receiver holds itself weakly.
struct ViewerWindowDelegate {
    std::function<void()> didMove;
    std::function<void()> didResize;
    /// The user or the window manager asked for the window to close, or `performClose` was called.
    /// The window is hidden after this returns.
    std::function<void()> willClose;
    /// A key was pressed that no item took; answers whether it was used.
    std::function<bool(QKeyEvent &)> keyDown;
    /// The window's graphics cannot be set up or were lost for good; the text is Qt's.
    std::function<void(const QString &)> graphicsFailed;
};

/// The borderless, black window of the viewer: its shape, level, remembered frame and closing.
/// It holds no controls and knows nothing of cameras; those are items in it. Main thread only.
class ViewerWindow final : public QQuickWindow {
    Q_OBJECT

  public:
    explicit ViewerWindow(ViewerWindowDelegate delegate);
    ~ViewerWindow() override;

    /// Keeps the content in this shape from now on, and takes it on at once around the window's
    /// centre. An empty ratio frees the shape.
    void setContentAspectRatio(ContentAspectRatio ratio);
    [[nodiscard]] ContentAspectRatio contentAspectRatio() const { return m_ratio; }

    /// Puts the window above others or among them, without re-creating, hiding or moving it.
    void setLevel(WindowLevel level);
    [[nodiscard]] WindowLevel level() const;

    /// The text from which `setFrameFromString` restores this frame (see WindowFrame.h).
    [[nodiscard]] QString savedFrame() const;
    /// Moves and sizes the window, and keeps that shape; false, without effect, when the text is no
    /// frame.
    bool setFrameFromString(const QString &text);
    /// Centres the window on its screen.
    void centre();

    /// Whether the window's size and place are the user's choice: not in full screen, and not
    /// minimised.
    [[nodiscard]] bool hasOrdinaryFrame() const;

    void toggleFullScreen();

    /// Closes the window as if its close button had been pressed.
    void performClose();

    /// Runs `action` once the window's first frame has been drawn; at once, in a later turn, if it
    /// has been already.
    void whenFirstDrawn(std::function<void()> action);

  protected:
    bool event(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void moveEvent(QMoveEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

  private:
    void correctShape();
    void setFrame(const QRect &frame);
    [[nodiscard]] QRect availableArea() const;

    ViewerWindowDelegate m_delegate;
    X11SizeHints m_sizeHints;
    ContentAspectRatio m_ratio;
    QTimer m_shapeCorrection; // fires when sizes have stopped arriving
    std::function<void()> m_firstDrawn;
    bool m_wasDrawn = false;
    bool m_isClosing = false;
};

} // namespace lumvik
