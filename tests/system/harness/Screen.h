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

/// What is really to be seen on a desktop. Every picture is cut out of the whole screen, so a
/// window that is covered shows what covers it. Main thread only; must not outlive its desktop.
class Screen {
  public:
    explicit Screen(const TestDesktop &desktop);

    [[nodiscard]] QImage all() const;
    /// The part inside `area`, in pixels from the top left corner.
    [[nodiscard]] QImage area(QRect area) const;
    /// What is where the window is; null when the window has gone or is off the screen.
    [[nodiscard]] QImage window(xcb_window_t window) const;
    [[nodiscard]] QColor pixel(QPoint point) const;

    /// Waits until what is where the window is satisfies `predicate`, which gives its reasons when
    /// it does not. The failure carries the last of them.
    [[nodiscard]] testing::AssertionResult
    waitUntil(xcb_window_t window,
              const std::function<testing::AssertionResult(const QImage &)> &predicate,
              std::chrono::milliseconds deadline) const;

    /// Whether the picture inside `area` changes before the deadline: whether more than one pixel
    /// in a thousand becomes visibly another one.
    [[nodiscard]] testing::AssertionResult changesWithin(QRect area,
                                                         std::chrono::milliseconds deadline) const;

    /// Writes the whole screen as "NAME.png" into $LUMVIK_TEST_ARTIFACTS, when that is set; answers
    /// the path, or empty.
    QString save(const QString &name) const;

  private:
    const TestDesktop &m_desktop;
};

} // namespace lumvik::test
