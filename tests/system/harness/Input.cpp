#include "Input.h"

#include "ChildProcess.h"
#include "Eventually.h"
#include "TestDesktop.h"

#include <cmath>

namespace lumvik::test {

using namespace std::chrono_literals;

void xdotool(const TestDesktop &desktop, const QStringList &arguments) {
    ChildProcess process(QStringLiteral("xdotool"), desktop.environment());
    ASSERT_TRUE(process.start(QStringLiteral("xdotool"), arguments));
    ASSERT_TRUE(process.waitForExit(20s)) << arguments.join(u' ').toStdString();
    EXPECT_EQ(process.exitStatus(), 0) << arguments.join(u' ').toStdString() << ": "
                                       << process.standardError().join(u'\n').toStdString();
}

Pointer::Pointer(const TestDesktop &desktop) : m_desktop(desktop) {}

void Pointer::moveTo(QPoint point) {
    xdotool(m_desktop,
            {QStringLiteral("mousemove"), QString::number(point.x()), QString::number(point.y())});
    EXPECT_TRUE(eventually(5s, [&] { return m_desktop.x().pointerPosition() == point; }))
        << "the pointer does not reach " << point.x() << ", " << point.y();
}

void Pointer::glideTo(QPoint point, int steps) {
    const QPointF from = m_desktop.x().pointerPosition();
    for (int step = 1; step < steps; ++step)
        moveTo((from + (point - from) * (static_cast<double>(step) / steps)).toPoint());
    moveTo(point);
}

void Pointer::press(Button button) {
    xdotool(m_desktop, {QStringLiteral("mousedown"), QString::number(static_cast<int>(button))});
}

testing::AssertionResult Pointer::pressToDrag(QPoint towards) {
    const QPoint from = m_desktop.x().pointerPosition();
    const QPoint way = towards - from;
    press();
    moveTo(from + (QPointF(way) * dragStart / std::hypot(way.x(), way.y())).toPoint());
    if (eventually(20s, [this] { return m_desktop.x().keyboardIsGrabbed(); }))
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << "the window manager does not begin to move or resize";
}

void Pointer::release(Button button) {
    xdotool(m_desktop, {QStringLiteral("mouseup"), QString::number(static_cast<int>(button))});
}

void Pointer::click(Button button) {
    press(button);
    release(button);
}

Keyboard::Keyboard(const TestDesktop &desktop) : m_desktop(desktop) {}

void Keyboard::press(const QString &key) {
    // The option "--clearmodifiers" is not used, because it would release a pressed mouse button
    // and press the button again. No test holds a modifier key.
    xdotool(m_desktop, {QStringLiteral("key"), key});
}

} // namespace lumvik::test
