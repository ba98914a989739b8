#include "window/ScreenFollower.h"

#include "window/MouseButtonState.h"

#include <QGuiApplication>
#include <QScreen>

#include <chrono>
#include <utility>

namespace lumvik {

namespace {

// Window managers push windows about while screens change, which is over long before a window
// counts as resting.
constexpr auto rest = std::chrono::seconds(1);
constexpr auto settling = std::chrono::milliseconds(300);

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
    m_rested.setSingleShot(true);
    m_rested.setInterval(rest);
    connect(&m_rested, &QTimer::timeout, this, &ScreenFollower::frameRested);
    m_settled.setSingleShot(true);
    m_settled.setInterval(settling);
    connect(&m_settled, &QTimer::timeout, this, &ScreenFollower::screensSettled);
    for (QScreen *screen : QGuiApplication::screens())
        follow(screen);
    connect(qGuiApp, &QGuiApplication::screenAdded, this, [this](QScreen *screen) {
        follow(screen);
        m_settled.start();
    });
    connect(qGuiApp, &QGuiApplication::screenRemoved, this, [this] { m_settled.start(); });
}

void ScreenFollower::follow(QScreen *screen) {
    connect(screen, &QScreen::geometryChanged, this, [this] { m_settled.start(); });
}

void ScreenFollower::frameRested() {
    if (m_settled.isActive() || mouseButtonIsDown()) {
        m_rested.start();
        return;
    }
    const auto frame = m_window.frame();
    if (!frame)
        return;
    const auto before = home();
    m_memory.frameRested(*frame, availableAreas());
    if (home() != before)
        m_window.homeChanged();
}

void ScreenFollower::screensSettled() {
    const auto before = home();
    const auto place = m_memory.screensChanged(availableAreas());
    if (place && place != m_window.frame())
        m_window.move(*place);
    // A window manager may have been faster, and its frame have been taken for the user's.
    if (home() != before)
        m_window.homeChanged();
}

} // namespace lumvik
