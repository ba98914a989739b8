#pragma once

#include <QRectF>
#include <QSizeF>

namespace lumvik {

/// The arrangement of the controls: one row along the top edge, or two rows in a narrow window.
enum class ViewerControlArrangement { regular, compact };

/// Below this content width, in points, the compact arrangement is used.
inline constexpr qreal compactViewerWidth = 290;

[[nodiscard]] constexpr ViewerControlArrangement viewerControlArrangement(qreal contentWidth) {
    return contentWidth < compactViewerWidth ? ViewerControlArrangement::compact
                                             : ViewerControlArrangement::regular;
}

/// The rectangles of the controls, in points from the top left corner of the content. A control
/// with a null rectangle is not shown.
struct ViewerControlFrames {
    QRectF menuStrip;
    QRectF picker;
    QRectF pin;
    QRectF focus;
    QRectF close;
};

/// The sizes that the layout depends on, in points.
struct ViewerControlSizes {
    QSizeF content;
    qreal pickerWidth = 0;    // the width at which the whole title is visible
    qreal menuStripWidth = 0; // the width at which all titles are visible
};

/// Returns the layout of the controls. In points, the distance from the edges is 12, gaps are 6,
/// buttons are 28 wide, and all controls are 24 high. In the regular arrangement, the picker is
/// next to the pin button, and becomes narrower, down to 140 points, if the window or the menu
/// strip leaves no more room. The strip is hidden if even the narrowest picker leaves no room for
/// it, and in the compact arrangement. The menu key opens the menus even while the strip is hidden.
[[nodiscard]] ViewerControlFrames viewerControlFrames(ViewerControlArrangement arrangement,
                                                      const ViewerControlSizes &sizes);

/// The reasons to show the controls.
struct ViewerControlReasons {
    bool pointerIsOverViewer = false;
    bool cameraMenuIsOpen = false;
    bool mainMenuIsOpen = false;
    bool keyboardIsOnControls = false;
    bool isSelectingFocusArea = false; // the controls stay visible during a selection
};

/// Whether the controls are shown. A single reason is enough to show them.
[[nodiscard]] constexpr bool viewerControlsAreWanted(const ViewerControlReasons &reasons) {
    return reasons.pointerIsOverViewer || reasons.cameraMenuIsOpen || reasons.mainMenuIsOpen ||
           reasons.keyboardIsOnControls || reasons.isSelectingFocusArea;
}

/// Which controls are enabled.
struct ViewerControlEnablement {
    bool picker = false;
    bool pin = false;
    bool focus = false;
    bool close = false;

    friend bool operator==(const ViewerControlEnablement &,
                           const ViewerControlEnablement &) = default;
};

[[nodiscard]] constexpr ViewerControlEnablement viewerControlEnablement(bool visible,
                                                                        bool hasCameras) {
    return {.picker = visible && hasCameras,
            .pin = visible,
            .focus = visible && hasCameras,
            .close = visible};
}

} // namespace lumvik
