#pragma once

#include "viewer/CameraMenu.h"
#include "viewer/ViewerControl.h"

#include <QMenu>
#include <QRectF>
#include <QStringList>

#include <memory>
#include <vector>

namespace lumvik {

/// What the picker reports, each on the main thread.
struct CameraPickerDelegate {
    std::function<void()> menuWillOpen;
    std::function<void()> menuDidClose;
    /// The user chose the item at an index, with the menu closed already.
    std::function<void(int index)> cameraChosen;
};

/// Where things lie in the closed picker.
struct ViewerCameraPickerCell {
    /// The title's place in `bounds` for a line of `titleHeight`: from the left edge on, in the
    /// vertical middle, leaving room for the arrow at the right.
    [[nodiscard]] static QRectF titleRect(const QRectF &bounds, qreal titleHeight);
};

/// The chooser that lists the cameras by name and shows the selected one. Main thread only.
class CameraPicker final : public ViewerControl {
    Q_OBJECT

  public:
    CameraPicker(CameraPickerDelegate delegate, QQuickItem *parent);
    ~CameraPicker() override;

    /// Replaces the items; the first one, if any, is selected. A menu that is open closes, since
    /// what it offers is not there any more.
    void setItems(const QStringList &names);

    /// Selects an item without reporting it, in the open menu too. An index outside the items is
    /// ignored.
    void selectItem(int index);
    /// The selected index, -1 without items.
    [[nodiscard]] int indexOfSelectedItem() const { return m_selected; }

    /// The name of the selected camera; empty without one.
    [[nodiscard]] QString value() const override { return m_names.value(m_selected); }

    [[nodiscard]] QMenu *popUp() const override { return m_menu.get(); }

    /// The width that shows the whole title, in points.
    [[nodiscard]] qreal naturalWidth() const;

    /// Opens the menu at the picker, with the check mark on the selected camera.
    void openMenu();

    /// The menu of the items, in their order.
    [[nodiscard]] const QMenu &menu() const { return *m_menu; }
    /// The view of the item at an index.
    [[nodiscard]] const MirelCameraMenuItemView &itemView(int index) const {
        return *m_itemViews.at(static_cast<std::size_t>(index));
    }

    void paint(QPainter *painter) override;

  protected:
    [[nodiscard]] OutlinedShape outlinedShape() const override;

  private:
    void styleCameraPickerMenu();
    void markSelectedItem();
    [[nodiscard]] const MirelCameraMenuItemView *viewOfItem(const QAction *item) const;

    CameraPickerDelegate m_delegate;
    QStringList m_names;
    int m_selected = -1;
    std::vector<std::unique_ptr<MirelCameraMenuItemView>> m_itemViews; // one for each item
    CameraMenuStyle m_menuStyle;
    std::unique_ptr<QMenu> m_menu;
};

} // namespace lumvik
