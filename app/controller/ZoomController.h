#pragma once

#include "platform/MainQueue.h"
#include "viewer/PictureZoom.h"
#include "viewer/ZoomMap.h"

#include <QPointer>
#include <QSizeF>

#include <functional>
#include <memory>
#include <optional>

namespace lumvik {

/// Magnifies the picture with the wheel, the touchpad and the keyboard, and shows for a moment
/// which part is visible. The engine scales the picture; no filter is rebuilt.
///
/// The controller owns it and passes on what the user does. Main thread only.
class ZoomController {
  public:
    /// The sizes that the zoom depends on, in points.
    struct Layout {
        QSizeF view;
        QSizeF picture; ///< At a magnification of 1. May be larger than the view.
    };

    /// The services that are used. All functions are called on the main thread.
    struct Environment {
        MainQueue &mainQueue;
        /// Returns nothing while there is no picture.
        std::function<std::optional<Layout>()> layout;
        /// Gives the magnification and the pan to the engine.
        std::function<void(const PictureZoom &)> apply;
    };

    explicit ZoomController(Environment environment);

    /// Creates the map in the window's content.
    void createMap(QQuickItem *content);
    /// The window's content has this size now, in points.
    void layOut(const QSizeF &content);

    [[nodiscard]] const PictureZoom &zoom() const { return m_zoom; }
    [[nodiscard]] bool isMagnified() const { return m_zoom.isMagnified(); }

    /// `position` is in the view's coordinates.
    void magnify(double factor, const QPointF &position);
    /// Magnifies by one step, or by one step less, around the centre of the view.
    void step(bool isLarger);
    /// Moves the magnified picture by `distance`, in points.
    void move(const QPointF &distance);
    /// Moves the view over the magnified picture, by a part of its size for each unit of
    /// `direction`.
    void moveView(const QPointF &direction);
    /// Shows the whole picture again. Returns false if it was not magnified.
    bool reset();

    /// The scaling of the picture has changed, or the size of the picture or of the window.
    void sizesChanged();

  private:
    /// Reads the sizes. Returns false while there is no picture.
    bool readSizes();
    void changed();
    void showMap();

    const Environment m_environment;
    PictureZoom m_zoom;
    double m_ratio = 1; // the picture's width over its height
    QPointer<ZoomMap> m_map;
    std::shared_ptr<WorkItem> m_hideMap;
};

} // namespace lumvik
