#pragma once

#include "viewer/CameraMenu.h"
#include "viewer/ViewerControl.h"

#include <QMenu>
#include <QRectF>
#include <QStringList>

#include <memory>
#include <vector>

namespace lumvik {

/// The callbacks of a camera picker. All callbacks run on the main thread.
struct CameraPickerDelegate {
    std::function<void()> menuWillOpen;
    std::function<void()> menuDidClose;
    /// The user has chosen the item at `index`. The menu has closed already.
    std::function<void(int index)> cameraChosen;
    /// The wheel was turned over the picker by this many notches. Positive towards the user, that
    /// is, to later cameras.
    std::function<void(int notches)> wheelTurned = {};
};

/// The layout of the closed picker.
struct ViewerCameraPickerCell {
    /// Returns the rectangle of the title within `bounds`, for a line of the height `titleHeight`
    /// (in points). The title begins at the left edge, is centred vertically, and leaves room for
    /// the arrow at the right.
    [[nodiscard]] static QRectF titleRect(const QRectF &bounds, qreal titleHeight);
};

/// The control that shows the name of the selected camera and offers all cameras in a menu. Main
/// thread only.
class CameraPicker final : public ViewerControl {
    Q_OBJECT

  public:
    CameraPicker(CameraPickerDelegate delegate, QQuickItem *parent);
    ~CameraPicker() override;

    /// Replaces the items and selects the first one, if there is one. Closes an open menu, because
    /// its items no longer exist.
    void setItems(const QStringList &names);

    /// The names as they are shown.
    [[nodiscard]] const QStringList &items() const { return m_names; }

    /// Selects an item without calling the delegate. An open menu shows the new selection as well.
    /// An index outside the items is ignored.
    void selectItem(int index);
    /// Returns the selected index, or -1 if there are no items.
    [[nodiscard]] int indexOfSelectedItem() const { return m_selected; }

    /// Returns the name of the selected camera, or an empty text if there are no items.
    [[nodiscard]] QString value() const override { return m_names.value(m_selected); }

    [[nodiscard]] QMenu *popUp() const override { return m_menu.get(); }

    /// Returns the width, in points, at which the whole title is visible.
    [[nodiscard]] qreal naturalWidth() const;

    /// Opens the menu next to the picker. The selected camera has a check mark.
    void openMenu();

    /// The menu, whose items are in the order of the cameras.
    [[nodiscard]] const QMenu &menu() const { return *m_menu; }
    /// The view that draws the item at `index`.
    [[nodiscard]] const MirelCameraMenuItemView &itemView(int index) const {
        return *m_itemViews.at(static_cast<std::size_t>(index));
    }

    void paint(QPainter *painter) override;

  protected:
    [[nodiscard]] OutlinedShape outlinedShape() const override;
    void wheelEvent(QWheelEvent *event) override;

  private:
    void styleCameraPickerMenu();
    void markSelectedItem();
    [[nodiscard]] const MirelCameraMenuItemView *viewOfItem(const QAction *item) const;

    CameraPickerDelegate m_delegate;
    QStringList m_names;
    int m_selected = -1;
    int m_wheelAngle = 0; // turned since the last whole notch, in eighths of a degree
    std::vector<std::unique_ptr<MirelCameraMenuItemView>> m_itemViews; // one per item
    CameraMenuStyle m_menuStyle;
    std::unique_ptr<QMenu> m_menu;
};

} // namespace lumvik
