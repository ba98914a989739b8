#pragma once

#include "configuration/Camera.h"

#include <QAbstractTableModel>

namespace lumvik {

/// The table model of the editor's draft. Each camera is a row. The columns are the drag handle,
/// the name and the address.
///
/// A dragged row is transferred as its row number in a private MIME type. The table therefore
/// accepts no data from other programs, and other programs accept no row of the table. Main thread
/// only.
class CameraListModel final : public QAbstractTableModel {
    Q_OBJECT

  public:
    enum Column { order, name, address, numberOfColumns };

    /// Returns the private MIME type of a dragged row.
    [[nodiscard]] static QString cameraRowType();

    explicit CameraListModel(CameraList cameras);

    /// Returns the draft, whose strings are exactly as the user typed them.
    [[nodiscard]] const CameraList &cameras() const { return m_cameras; }
    /// Replaces the whole draft.
    void setCameras(CameraList cameras);
    void append(const Camera &camera);
    void remove(int row);
    /// Removes the camera at `source` and inserts it again at row `destination`.
    void move(int source, int destination);

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;
    bool setData(const QModelIndex &index, const QVariant &value, int role) override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation,
                                      int role) const override;
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex &index) const override;

    [[nodiscard]] QStringList mimeTypes() const override;
    [[nodiscard]] QMimeData *mimeData(const QModelIndexList &indexes) const override;
    [[nodiscard]] Qt::DropActions supportedDropActions() const override { return Qt::MoveAction; }
    [[nodiscard]] bool canDropMimeData(const QMimeData *data, Qt::DropAction action, int row,
                                       int column, const QModelIndex &parent) const override;
    /// Moves the dragged row into the gap above `row` and emits rowDropped. If `row` is -1, the gap
    /// is above the row of `parent`, or below all rows if `parent` is invalid.
    bool dropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                      const QModelIndex &parent) override;

  Q_SIGNALS:
    /// A dragged row was dropped and is now row `destination`.
    void rowDropped(int destination);

  private:
    CameraList m_cameras;
};

} // namespace lumvik
