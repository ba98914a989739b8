#pragma once

#include <QTableView>

namespace lumvik {

class CameraListModel;

/// Whether the table scrolls to a row that the program selects.
enum class Scrolling { keepPlace, intoView };

/// The table of cameras. Rows have rounded backgrounds and can be dragged by any of their cells; a
/// line between two rows marks the drop position. Every function can also be used from the
/// keyboard. Main thread only.
class CameraTableView final : public QTableView {
    Q_OBJECT

  public:
    /// The view does not own `model`, which must outlive it.
    explicit CameraTableView(CameraListModel &model, QWidget *parent = nullptr);

    /// Returns the selected row, or -1 if no row is selected.
    [[nodiscard]] int selectedRow() const;
    /// Selects a row. Does nothing if there is no such row.
    void selectCamera(int row, Scrolling scrolling);
    /// Starts editing a cell and selects its whole text.
    void editCell(int row, int column);
    /// Ends an edit in progress and keeps the typed text.
    void endEditing();

  Q_SIGNALS:
    void selectedRowChanged();
    /// The user wants to move the selected row by `rows` (-1 or 1).
    void moveRequested(int rows);
    /// The user wants to remove the selected row.
    void removalRequested();
    /// A field has refused a text that is too long (see CameraFieldDelegate).
    void tooLongTextRefused(int row, int column);
    /// The user has pasted `lines` while no field is edited, or several of them into a field, which
    /// has taken the first one.
    void linesPasted(const QString &lines);

  protected:
    void paintEvent(QPaintEvent *event) override;
    /// Starts an edit like QTableView, with two exceptions: no edit starts while an alert or a file
    /// panel is open, and a key pressed on a drag handle edits the name in the same row.
    using QTableView::edit;
    bool edit(const QModelIndex &index, EditTrigger trigger, QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void startDrag(Qt::DropActions supportedActions) override;
    void keyPressEvent(QKeyEvent *event) override;
    /// Moves the current cell like QTableView, but skips the drag handles, so that Tab moves from
    /// field to field.
    QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;
    void rowsAboutToBeRemoved(const QModelIndex &parent, int first, int last) override;
    void selectionChanged(const QItemSelection &selected,
                          const QItemSelection &deselected) override;

  private:
    void setUpColumns();
    void enforceMinimumColumnWidths();
    /// Draws the background of a row, beneath its cells.
    void paintRow(QPainter &painter, int row) const;
    /// Returns the rectangle of a row in viewport coordinates.
    [[nodiscard]] QRect rowRect(int row) const;
    /// Returns the image of a row that follows the pointer during a drag.
    [[nodiscard]] QPixmap dragImageOfRow(int row) const;

    CameraListModel &m_cameras;
    QPoint m_pressPosition; // The position of the last mouse press, in viewport coordinates.
};

} // namespace lumvik
