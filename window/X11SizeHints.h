#pragma once

#include "window/ContentAspectRatio.h"

#include <QAbstractNativeEventFilter>
#include <QPointer>
#include <QWindow>

namespace lumvik {

/// Keeps the aspect ratio in a window's WM_NORMAL_HINTS on X11, so that the window manager itself
/// keeps the shape while the user resizes. Qt has no call for it and writes the hints anew, without
/// the ratio, whenever a size limit or the geometry changes; this puts the ratio back each time.
///
/// On other windowing systems it does nothing. Lives with its window, on the main thread.
class X11SizeHints final : public QAbstractNativeEventFilter {
  public:
    explicit X11SizeHints(QWindow &window);
    X11SizeHints(const X11SizeHints &) = delete;
    X11SizeHints &operator=(const X11SizeHints &) = delete;
    ~X11SizeHints() override;

    /// Sets the ratio to keep; an empty one removes it.
    void setAspectRatio(ContentAspectRatio ratio);

    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result) override;

  private:
    void apply();

    QWindow &m_window;
    ContentAspectRatio m_ratio;
};

} // namespace lumvik
