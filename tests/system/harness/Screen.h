#pragma once

#include <QColor>
#include <QImage>
#include <QPoint>
#include <QRect>
#include <QString>

#include <gtest/gtest.h>
#include <xcb/xcb.h>

#include <chrono>
#include <functional>

namespace lumvik::test {

class TestDesktop;

/// Screenshots of a desktop. Every image is cut out of the whole screen, so the image of a covered
/// window shows the windows above it. Main thread only. Must not outlive its desktop.
class Screen {
  public:
    explicit Screen(const TestDesktop &desktop);

    [[nodiscard]] QImage all() const;
    /// The part of the screen inside `area`, which is in pixels from the screen's top left corner.
    [[nodiscard]] QImage area(QRect area) const;
    /// The part of the screen that the window occupies. Null when the window no longer exists or is
    /// outside the screen.
    [[nodiscard]] QImage window(xcb_window_t window) const;
    [[nodiscard]] QColor pixel(QPoint point) const;

    /// Waits until the image of the window satisfies `predicate`. The failure message contains the
    /// last message of the predicate.
    [[nodiscard]] testing::AssertionResult
    waitUntil(xcb_window_t window,
              const std::function<testing::AssertionResult(const QImage &)> &predicate,
              std::chrono::milliseconds deadline) const;

    /// Waits until the part of the screen inside `area` changes. More than one pixel in a thousand
    /// must differ visibly.
    [[nodiscard]] testing::AssertionResult changesWithin(QRect area,
                                                         std::chrono::milliseconds deadline) const;

    /// Saves the whole screen as "NAME.png" in the folder $LUMVIK_TEST_ARTIFACTS if this
    /// environment variable is set. Returns the path of the file, or an empty string if no file was
    /// saved.
    QString save(const QString &name) const;

  private:
    const TestDesktop &m_desktop;
};

} // namespace lumvik::test
