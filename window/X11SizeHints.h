#pragma once

#include "window/ContentAspectRatio.h"

#include <QAbstractNativeEventFilter>
#include <QPointer>
#include <QWindow>

namespace lumvik {

/// Sets the aspect ratio in a window's WM_NORMAL_HINTS on X11, so that the window manager itself
/// keeps the aspect ratio while the user resizes the window. Qt has no function for setting the
/// ratio, and rewrites the hints without the ratio whenever a size limit or the geometry changes.
/// This class restores the ratio after each such change.
///
/// On other windowing systems the class does nothing. The object must not outlive its window. Main
/// thread only.
class X11SizeHints final : public QAbstractNativeEventFilter {
  public:
    explicit X11SizeHints(QWindow &window);
    X11SizeHints(const X11SizeHints &) = delete;
    X11SizeHints &operator=(const X11SizeHints &) = delete;
    ~X11SizeHints() override;

    /// Sets the aspect ratio. An empty ratio removes it from the hints.
    void setAspectRatio(ContentAspectRatio ratio);

    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result) override;

  private:
    void apply();

    QWindow &m_window;
    ContentAspectRatio m_ratio;
};

} // namespace lumvik
