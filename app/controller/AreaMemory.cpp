#include "app/controller/AreaMemory.h"

#include "platform/PreferenceKeysAndDefaults.h"

namespace lumvik {

AreaMemory::AreaMemory(UserDefaults &userDefaults, const CameraDetailsStore &details)
    : m_userDefaults(userDefaults)
    , m_details(details) {}

bool AreaMemory::isOn() const {
    return m_userDefaults.boolean(PreferenceKeys::remembersArea);
}

void AreaMemory::setOn(bool isOn, const CameraList &cameras) {
    m_userDefaults.set(PreferenceKeys::remembersArea, isOn);
    if (isOn)
        return;
    for (const Camera &camera : cameras)
        store(camera.url, std::nullopt, cameras);
}

void AreaMemory::note(const QString &url, const std::optional<VideoFocusCrop> &crop,
                      const CameraList &cameras) {
    if (!isOn())
        return;
    if (!crop)
        return store(url, std::nullopt, cameras);
    store(url,
          CameraArea{.x = static_cast<int>(crop->x),
                     .y = static_cast<int>(crop->y),
                     .width = static_cast<int>(crop->width),
                     .height = static_cast<int>(crop->height),
                     .sourceWidth = static_cast<int>(crop->sourceSize.width()),
                     .sourceHeight = static_cast<int>(crop->sourceSize.height())},
          cameras);
}

std::optional<VideoFocusCrop> AreaMemory::area(const QString &url, const QSizeF &sourceSize) const {
    if (!isOn())
        return std::nullopt;
    const auto area = m_details.details(url).area;
    if (!area || sourceSize != QSizeF(area->sourceWidth, area->sourceHeight))
        return std::nullopt;
    return VideoFocusCrop{.x = area->x,
                          .y = area->y,
                          .width = area->width,
                          .height = area->height,
                          .sourceSize = sourceSize};
}

void AreaMemory::store(const QString &url, const std::optional<CameraArea> &area,
                       const CameraList &cameras) const {
    CameraDetails details = m_details.details(url);
    if (details.area == area)
        return;
    details.area = area;
    // The store has logged a failure. Only comfort is lost.
    static_cast<void>(m_details.store(url, details, cameras));
}

} // namespace lumvik
