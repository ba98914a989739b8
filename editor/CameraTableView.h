#pragma once

#include <QTableView>

namespace lumvik {

class CameraListModel;

/// Whether a row that becomes the selected one is brought into view.
enum class Scrolling { keepPlace, intoView };

/// The table of cameras: rounded rows, rows dragged by any part of them with a line between rows
/// that shows where they will go, and everything reachable from the keyboard. Main thread only.
class CameraTableView final : public QTableView {
    Q_OBJECT

  public:
    /// `model` stays the caller's and must outlive the view.
    explicit CameraTableView(CameraListModel &model, QWidget *parent = nullptr);

    /// The selected row; -1 without one.
    [[nodiscard]] int selectedRow() const;
    /// Selects a row; none when there is no such row.
    void selectCamera(int row, Scrolling scrolling);
    /// Begins to edit a cell, with its whole text selected.
    void editCell(int row, int column);
    /// Ends an edit in progress; what was typed stays.
    void endEditing();

  Q_SIGNALS:
    void selectedRowChanged();
    /// The user asks for the selected row to move by `rows` (-1 or 1).
    void moveRequested(int rows);
    /// The user asks for the selected row to go.
    void removalRequested();

  protected:
    void paintEvent(QPaintEvent *event) override;
    /// As the table's, but not behind an alert, and of a row's name where the handle has the keys.
    using QTableView::edit;
    bool edit(const QModelIndex &index, EditTrigger trigger, QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void startDrag(Qt::DropActions supportedActions) override;
    void keyPressEvent(QKeyEvent *event) override;
    /// As the table's, but Tab goes from field to field and passes over the handles.
    QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;
    void rowsAboutToBeRemoved(const QModelIndex &parent, int first, int last) override;
    void selectionChanged(const QItemSelection &selected,
                          const QItemSelection &deselected) override;

  private:
    void setUpColumns();
    void keepColumnsWide();
    /// The ground of a row, which the cells are drawn upon.
    void paintRow(QPainter &painter, int row) const;
    /// In the viewport.
    [[nodiscard]] QRect rowRect(int row) const;
    /// A row as it hangs at the pointer.
    [[nodiscard]] QPixmap pictureOfRow(int row) const;

    CameraListModel &m_cameras;
    QPoint m_pressed; // where the button went down, in the viewport
};

} // namespace lumvik
