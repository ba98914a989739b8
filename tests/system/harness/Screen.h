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
/// window shows what covers it. Main thread only. Must not outlive its desktop.
class Screen {
  public:
    explicit Screen(const TestDesktop &desktop);

    [[nodiscard]] QImage all() const;
    /// The part inside `area`, in pixels from the top left corner.
    [[nodiscard]] QImage area(QRect area) const;
    /// The part of the screen that the window occupies. Null when the window does not exist any
    /// more or is off the screen.
    [[nodiscard]] QImage window(xcb_window_t window) const;
    [[nodiscard]] QColor pixel(QPoint point) const;

    /// Waits until the image of the window satisfies `predicate`. The failure message contains the
    /// last message of the predicate.
    [[nodiscard]] testing::AssertionResult
    waitUntil(xcb_window_t window,
              const std::function<testing::AssertionResult(const QImage &)> &predicate,
              std::chrono::milliseconds deadline) const;

    /// Whether the picture inside `area` changes before the deadline. More than one pixel in a
    /// thousand must differ visibly.
    [[nodiscard]] testing::AssertionResult changesWithin(QRect area,
                                                         std::chrono::milliseconds deadline) const;

    /// Writes the whole screen as "NAME.png" to the folder $LUMVIK_TEST_ARTIFACTS when this
    /// variable is set. Returns the path, or an empty string.
    QString save(const QString &name) const;

  private:
    const TestDesktop &m_desktop;
};

} // namespace lumvik::test
