#include "DesktopProgram.h"

#include "Eventually.h"
#include "TestDesktop.h"

namespace lumvik::test {

DesktopProgram::DesktopProgram(const TestDesktop &desktop, const QString &name,
                               const QProcessEnvironment &environment)
    : m_desktop(desktop)
    , m_process(name, environment) {}

testing::AssertionResult DesktopProgram::waitForWindow(const QString &title,
                                                       std::chrono::milliseconds deadline) {
    const bool settled = eventually(deadline, [&] {
        m_window = findMainWindow(title).value_or(XCB_WINDOW_NONE);
        return m_window != XCB_WINDOW_NONE || !m_process.isRunning();
    });
    if (settled && m_window != XCB_WINDOW_NONE)
        return testing::AssertionSuccess();
    QStringList titles;
    for (const xcb_window_t window : windowsOnScreen())
        titles.append(m_desktop.x().title(window));
    return testing::AssertionFailure()
           << "no window \"" << title.toStdString() << "\" of the program, which "
           << m_process.stateDescription().toStdString() << "; its windows: \""
           << titles.join(QStringLiteral("\", \"")).toStdString() << "\"";
}

std::optional<xcb_window_t> DesktopProgram::findMainWindow(const QString &title) const {
    const XConnection &x = m_desktop.x();
    for (const xcb_window_t window : windowsOnScreen()) {
        if (x.title(window) == title && !x.overridesRedirect(window) &&
            x.numbers(window, "WM_TRANSIENT_FOR").isEmpty())
            return window;
    }
    return std::nullopt;
}

QList<xcb_window_t> DesktopProgram::windowsOnScreen() const {
    const XConnection &x = m_desktop.x();
    const qint64 id = m_process.processId();
    QList<xcb_window_t> windows;
    if (id == 0)
        return windows;
    for (const xcb_window_t window : x.viewableWindows()) {
        if (x.processId(window) == id)
            windows.append(window);
    }
    return windows;
}

QList<xcb_window_t> DesktopProgram::popUps() const {
    QList<xcb_window_t> windows;
    for (const xcb_window_t window : windowsOnScreen()) {
        if (m_desktop.x().overridesRedirect(window))
            windows.append(window);
    }
    return windows;
}

QRect DesktopProgram::geometry() const {
    return m_desktop.x().geometry(m_window).value_or(QRect());
}

bool DesktopProgram::isAbove() const {
    return m_desktop.x()
        .atomNames(m_window, "_NET_WM_STATE")
        .contains(QStringLiteral("_NET_WM_STATE_ABOVE"));
}

bool DesktopProgram::hasFocus() const {
    return m_desktop.x().focusedWindow() == m_window;
}

SizeHints DesktopProgram::normalHints() const {
    return m_desktop.x().normalHints(m_window);
}

} // namespace lumvik::test
