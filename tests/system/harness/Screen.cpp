#include "Screen.h"

#include "Eventually.h"
#include "Pixels.h"
#include "TestDesktop.h"

#include <QDir>

namespace lumvik::test {

Screen::Screen(const TestDesktop &desktop) : m_desktop(desktop) {}

QImage Screen::all() const {
    return area(m_desktop.area());
}

QImage Screen::area(QRect area) const {
    return m_desktop.x().grab(area);
}

QImage Screen::window(xcb_window_t window) const {
    const auto geometry = m_desktop.x().geometry(window);
    return geometry ? area(*geometry) : QImage();
}

QColor Screen::pixel(QPoint point) const {
    return area(QRect(point, QSize(1, 1))).pixelColor(0, 0);
}

testing::AssertionResult
Screen::waitUntil(xcb_window_t window,
                  const std::function<testing::AssertionResult(const QImage &)> &predicate,
                  std::chrono::milliseconds deadline) const {
    testing::AssertionResult verdict = testing::AssertionFailure() << "no screenshot was taken";
    const bool satisfied = eventually(deadline, [&] {
        const QImage picture = Screen::window(window);
        verdict = picture.isNull()
                      ? testing::AssertionFailure() << "the window is not on the screen"
                      : predicate(picture);
        return static_cast<bool>(verdict);
    });
    if (satisfied)
        return testing::AssertionSuccess();
    return testing::AssertionFailure()
           << "not within " << deadline.count() << " ms: " << verdict.message();
}

testing::AssertionResult Screen::changesWithin(QRect area,
                                               std::chrono::milliseconds deadline) const {
    const QImage before = Screen::area(area);
    double most = 0;
    const bool changed = eventually(deadline, [&] {
        most = std::max(most, shareOfDifferentPixels(before, Screen::area(area)));
        return most > 0.001;
    });
    if (changed)
        return testing::AssertionSuccess() << "the picture changes";
    return testing::AssertionFailure()
           << "the picture inside " << area.width() << "x" << area.height() << "+" << area.x()
           << "+" << area.y() << " does not change within " << deadline.count() << " ms; at most "
           << most * 100 << " % of the pixels differed";
}

QString Screen::save(const QString &name) const {
    const QString folder = qEnvironmentVariable("LUMVIK_TEST_ARTIFACTS");
    if (folder.isEmpty() || !QDir().mkpath(folder))
        return {};
    const QString path = folder + u'/' + name + QStringLiteral(".png");
    return all().save(path) ? path : QString();
}

} // namespace lumvik::test
