#pragma once

#include "viewer/ViewerControl.h"

#include <QActionGroup>
#include <QMenu>
#include <QStringList>

#include <memory>

namespace lumvik {

/// What the picker reports, each on the main thread.
struct CameraPickerDelegate {
    std::function<void()> menuWillOpen;
    std::function<void()> menuDidClose;
    /// The user chose the item at an index, with the menu closed already.
    std::function<void(int index)> cameraChosen;
};

/// The chooser that lists the cameras by name and shows the selected one. Main thread only.
class CameraPicker final : public ViewerControl {
    Q_OBJECT

  public:
    CameraPicker(CameraPickerDelegate delegate, QQuickItem *parent);
    ~CameraPicker() override;

    /// Replaces the items; the first one, if any, is selected.
    void setItems(const QStringList &names);

    /// Selects an item without reporting it. An index outside the items is ignored.
    void selectItem(int index);
    /// The selected index, -1 without items.
    [[nodiscard]] int indexOfSelectedItem() const { return m_selected; }

    /// The name of the selected camera; empty without one.
    [[nodiscard]] QString value() const override { return m_names.value(m_selected); }

    /// The width that shows the whole title, in points.
    [[nodiscard]] qreal naturalWidth() const;

    /// Opens the menu at the picker.
    void openMenu();

    void paint(QPainter *painter) override;

  protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

  private:
    void populateMenu();

    CameraPickerDelegate m_delegate;
    QStringList m_names;
    int m_selected = -1;
    QActionGroup m_exclusive{nullptr}; // ticks exactly one of the menu's items
    std::unique_ptr<QMenu> m_menu;
};

} // namespace lumvik
