#pragma once

#include "configuration/CameraDetailsStore.h"
#include "engine/VideoFocusCrop.h"
#include "platform/UserDefaults.h"

#include <QSizeF>
#include <QString>

#include <optional>

namespace lumvik {

/// Remembers the area that each camera showed last, across cameras and starts, if the user wishes
/// that. The areas are stored with the details of the cameras. Main thread only.
class AreaMemory {
  public:
    /// Both must outlive the memory.
    AreaMemory(UserDefaults &userDefaults, const CameraDetailsStore &details);

    [[nodiscard]] bool isOn() const;
    /// Switching the memory off forgets the areas of all `cameras`.
    void setOn(bool isOn, const CameraList &cameras);

    /// The camera with the address `url` shows the area `crop`, or its whole picture if there is
    /// none. Does nothing if the memory is off.
    void note(const QString &url, const std::optional<VideoFocusCrop> &crop,
              const CameraList &cameras);

    /// Returns the area that the camera with the address `url` showed last in a picture of
    /// `sourceSize` (in pixels), or nothing.
    [[nodiscard]] std::optional<VideoFocusCrop> area(const QString &url,
                                                     const QSizeF &sourceSize) const;

  private:
    void store(const QString &url, const std::optional<CameraArea> &area,
               const CameraList &cameras) const;

    UserDefaults &m_userDefaults;
    const CameraDetailsStore &m_details;
};

} // namespace lumvik
