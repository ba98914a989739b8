#include "window/ScreenFollower.h"

#include "window/MouseButtonState.h"

#include <QGuiApplication>
#include <QScreen>

#include <chrono>
#include <utility>

namespace lumvik {

namespace {

// Window managers may move windows while the screens change. A frame must therefore stay unchanged
// for much longer than the screens before it counts as settled.
constexpr auto settledFrameDelay = std::chrono::seconds(1);
constexpr auto settledScreensDelay = std::chrono::milliseconds(300);

} // namespace

QList<QRect> availableAreas() {
    QList<QRect> areas;
    for (const QScreen *each : QGuiApplication::screens()) {
        if (each == QGuiApplication::primaryScreen())
            areas.prepend(each->availableGeometry());
        else
            areas.append(each->availableGeometry());
    }
    return areas;
}

ScreenFollower::ScreenFollower(Window window) : m_window(std::move(window)) {
    m_frameSettled.setSingleShot(true);
    m_frameSettled.setInterval(settledFrameDelay);
    connect(&m_frameSettled, &QTimer::timeout, this, &ScreenFollower::recordSettledFrame);
    m_screensSettled.setSingleShot(true);
    m_screensSettled.setInterval(settledScreensDelay);
    connect(&m_screensSettled, &QTimer::timeout, this, &ScreenFollower::screensSettled);
    for (QScreen *screen : QGuiApplication::screens())
        follow(screen);
    connect(qGuiApp, &QGuiApplication::screenAdded, this, [this](QScreen *screen) {
        follow(screen);
        m_screensSettled.start();
    });
    connect(qGuiApp, &QGuiApplication::screenRemoved, this, [this] { m_screensSettled.start(); });
}

void ScreenFollower::follow(QScreen *screen) {
    connect(screen, &QScreen::geometryChanged, this, [this] { m_screensSettled.start(); });
}

void ScreenFollower::recordSettledFrame() {
    if (m_screensSettled.isActive() || mouseButtonIsDown()) {
        m_frameSettled.start();
        return;
    }
    const auto frame = m_window.frame();
    if (!frame)
        return;
    const auto before = m_memory.ownFrame();
    m_memory.frameSettled(*frame, availableAreas());
    if (m_memory.ownFrame() != before)
        m_window.ownFrameChanged();
}

void ScreenFollower::screensSettled() {
    const auto before = m_memory.ownFrame();
    const auto frame = m_memory.screensChanged(availableAreas());
    if (frame && frame != m_window.frame())
        m_window.move(*frame);
    // The change is reported even if the window was not moved here. The window manager may have
    // moved the window to this frame earlier, and the frame then counted as the user's choice.
    if (m_memory.ownFrame() != before)
        m_window.ownFrameChanged();
}

} // namespace lumvik
