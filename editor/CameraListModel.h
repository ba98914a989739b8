#pragma once

#include "configuration/Camera.h"

#include <QAbstractTableModel>

namespace lumvik {

/// The editor's draft of the camera list, as the table shows and changes it: a row for each camera,
/// a column each for the handle that a row is dragged by, the name and the address. Rows are
/// dragged as a private kind of data that holds the row's number, so that nothing else can be
/// dropped here, nor a row anywhere else. Main thread only.
class CameraListModel final : public QAbstractTableModel {
    Q_OBJECT

  public:
    enum Column { order, name, address, columnCount_ };

    /// The private kind of data that a dragged row is.
    [[nodiscard]] static QString cameraRowType();

    explicit CameraListModel(CameraList cameras);

    /// The draft, with texts as they were typed.
    [[nodiscard]] const CameraList &cameras() const { return m_cameras; }
    /// Replaces the whole draft.
    void setCameras(CameraList cameras);
    void append(const Camera &camera);
    void remove(int row);
    /// Takes the camera at `source` out and puts it back at `destination`.
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
    /// Moves the dragged row into the gap before `row`, or before `parent`, and reports it.
    bool dropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                      const QModelIndex &parent) override;

  Q_SIGNALS:
    /// A row was dropped and is at `destination` now.
    void rowDropped(int destination);

  private:
    CameraList m_cameras;
};

} // namespace lumvik
