#include "app/controller/ZoomController.h"

#include <utility>

namespace lumvik {

namespace {

constexpr double stepFactor = 1.25;
constexpr double keyboardMove = 0.1; // of the view, for each press of an arrow key
constexpr double mapDuration = 1;    // in seconds

} // namespace

ZoomController::ZoomController(Environment environment) : m_environment(std::move(environment)) {}

void ZoomController::createMap(QQuickItem *content) {
    m_map = new ZoomMap(content);
}

void ZoomController::layOut(const QSizeF &content) {
    if (m_map)
        m_map->layOut(content);
    sizesChanged();
}

void ZoomController::magnify(double factor, const QPointF &position) {
    if (!readSizes())
        return;
    const double before = m_zoom.magnification();
    m_zoom.magnify(factor, position);
    if (m_zoom.magnification() != before)
        changed();
}

void ZoomController::step(bool isLarger) {
    if (!readSizes())
        return;
    const QSizeF view = m_zoom.view();
    magnify(isLarger ? stepFactor : 1 / stepFactor, {view.width() / 2, view.height() / 2});
}

void ZoomController::move(const QPointF &distance) {
    if (!m_zoom.isMagnified() || !readSizes())
        return;
    m_zoom.move(distance);
    changed();
}

void ZoomController::moveView(const QPointF &direction) {
    const QSizeF view = m_zoom.view();
    move({-direction.x() * view.width() * keyboardMove,
          -direction.y() * view.height() * keyboardMove});
}

bool ZoomController::reset() {
    if (!m_zoom.isMagnified())
        return false;
    m_zoom.reset();
    changed();
    return true;
}

void ZoomController::sizesChanged() {
    const QPointF before = m_zoom.pan();
    if (m_zoom.isMagnified() && readSizes() && m_zoom.pan() != before)
        m_environment.apply(m_zoom);
}

bool ZoomController::readSizes() {
    const auto layout = m_environment.layout();
    if (!layout || layout->view.isEmpty() || layout->picture.isEmpty())
        return false;
    m_zoom.setSizes(layout->view, layout->picture);
    m_ratio = layout->picture.width() / layout->picture.height();
    return true;
}

void ZoomController::changed() {
    m_environment.apply(m_zoom);
    showMap();
}

void ZoomController::showMap() {
    if (!m_map)
        return;
    if (m_hideMap)
        m_hideMap->cancel();
    m_map->setPart(m_zoom.visiblePart(), m_ratio, m_zoom.magnification());
    m_map->setVisible(m_zoom.isMagnified());
    m_hideMap = m_environment.mainQueue.after(mapDuration, [map = m_map] {
        if (map)
            map->setVisible(false);
    });
}

} // namespace lumvik
