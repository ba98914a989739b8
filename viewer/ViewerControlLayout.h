#pragma once

#include <QRectF>
#include <QSizeF>

namespace lumvik {

/// Where the viewer's controls lie: in one row along the top edge, or, in a narrow window, in two.
enum class ViewerControlArrangement { regular, compact };

/// Below this content width, in points, the compact arrangement is used.
inline constexpr qreal compactViewerWidth = 290;

[[nodiscard]] constexpr ViewerControlArrangement viewerControlArrangement(qreal contentWidth) {
    return contentWidth < compactViewerWidth ? ViewerControlArrangement::compact
                                             : ViewerControlArrangement::regular;
}

/// Rectangles in points from the content's top left corner. A null rectangle means that the thing
/// is not shown.
struct ViewerControlFrames {
    QRectF menuStrip;
    QRectF picker;
    QRectF pin;
    QRectF focus;
    QRectF close;
};

/// What the layout depends on besides the arrangement, in points.
struct ViewerControlSizes {
    QSizeF content;
    qreal pickerWidth = 0;    // what the picker needs to show its whole title
    qreal menuStripWidth = 0; // what the strip needs to show its titles
};

/// Lays the controls out. Margins to the container are 12, gaps are 6, buttons are 28 wide,
/// everything is 24 high. The picker keeps its place beside the pin: its width gives way, down to
/// 140, to the window's edge and to the menu strip. Where not even that leaves room for the strip,
/// and in the compact arrangement, the strip is not shown (the menu key opens its menus
/// everywhere).
[[nodiscard]] ViewerControlFrames viewerControlFrames(ViewerControlArrangement arrangement,
                                                      const ViewerControlSizes &sizes);

/// What keeps the controls shown.
struct ViewerControlReasons {
    bool pointerIsOverViewer = false;
    bool cameraMenuIsOpen = false;
    bool mainMenuIsOpen = false;
    bool keyboardIsOnControls = false;
    bool isSelectingFocusArea = false; // the controls stay up while an area is being chosen
};

/// Whether the controls are to be shown: for any one reason.
[[nodiscard]] constexpr bool viewerControlsAreWanted(const ViewerControlReasons &reasons) {
    return reasons.pointerIsOverViewer || reasons.cameraMenuIsOpen || reasons.mainMenuIsOpen ||
           reasons.keyboardIsOnControls || reasons.isSelectingFocusArea;
}

/// Which controls react to the pointer.
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
