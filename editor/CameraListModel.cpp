#include "editor/CameraListModel.h"

#include "configuration/CameraAddress.h"
#include "editor/CameraListRules.h"
#include "platform/LumvikLog.h"

#include <QMimeData>

#include <utility>

namespace lumvik {

QString CameraListModel::cameraRowType() {
    return QLatin1String(LumvikLog::subsystem) + QStringLiteral(".camera-row");
}

CameraListModel::CameraListModel(CameraList cameras) : m_cameras(std::move(cameras)) {}

// ---- Changing the list ----

void CameraListModel::setCameras(CameraList cameras) {
    beginResetModel();
    m_cameras = std::move(cameras);
    endResetModel();
}

void CameraListModel::append(const Camera &camera) {
    const int row = rowCount();
    beginInsertRows({}, row, row);
    m_cameras.append(camera);
    endInsertRows();
}

void CameraListModel::remove(int row) {
    beginRemoveRows({}, row, row);
    m_cameras.removeAt(row);
    endRemoveRows();
}

void CameraListModel::move(int source, int destination) {
    if (source == destination)
        return;
    // beginMoveRows expects the row above which the moved row is inserted, counted before the move.
    beginMoveRows({}, source, source, {}, destination > source ? destination + 1 : destination);
    m_cameras.move(source, destination);
    endMoveRows();
}

// ---- The table ----

int CameraListModel::rowCount(const QModelIndex &parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_cameras.size());
}

int CameraListModel::columnCount(const QModelIndex &parent) const {
    return parent.isValid() ? 0 : numberOfColumns;
}

QVariant CameraListModel::data(const QModelIndex &index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const Camera &camera = m_cameras.at(index.row());
    const bool isText = role == Qt::DisplayRole || role == Qt::EditRole;
    switch (index.column()) {
    case order:
        if (role == Qt::DisplayRole)
            return QStringLiteral("≡");
        return role == Qt::ToolTipRole || role == Qt::AccessibleTextRole
                   ? QStringLiteral("Drag to reorder")
                   : QVariant();
    case name:
        return isText ? camera.name : QVariant();
    case address:
        if (role == Qt::AccessibleTextRole)
            return spokenAddress(camera.url);
        return isText ? camera.url : QVariant();
    default:
        return {};
    }
}

bool CameraListModel::setData(const QModelIndex &index, const QVariant &value, int role) {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid) || role != Qt::EditRole ||
        index.column() == order)
        return false;
    Camera &camera = m_cameras[index.row()];
    QString &text = index.column() == name ? camera.name : camera.url;
    if (text != value.toString()) {
        text = value.toString();
        Q_EMIT dataChanged(index, index);
    }
    return true;
}

QVariant CameraListModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal)
        return {};
    if (role == Qt::TextAlignmentRole)
        return QVariant(Qt::AlignLeft | Qt::AlignVCenter);
    if (role == Qt::AccessibleTextRole && section == order)
        return QStringLiteral("Order"); // The handle column has no visible title.
    if (role != Qt::DisplayRole)
        return {};
    switch (section) {
    case name:
        return QStringLiteral("Camera Name");
    case address:
        return QStringLiteral("RTSP Address");
    default:
        return QString();
    }
}

Qt::ItemFlags CameraListModel::flags(const QModelIndex &index) const {
    if (!index.isValid())
        return Qt::ItemIsDropEnabled; // Rows can be dropped between and below rows.
    Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled;
    if (index.column() != order)
        flags |= Qt::ItemIsEditable;
    return flags;
}

// ---- Dragging ----

QStringList CameraListModel::mimeTypes() const {
    return {cameraRowType()};
}

QMimeData *CameraListModel::mimeData(const QModelIndexList &indexes) const {
    if (indexes.isEmpty())
        return nullptr;
    auto data = std::make_unique<QMimeData>();
    data->setData(cameraRowType(), QByteArray::number(indexes.first().row()));
    return data.release(); // The drag takes ownership.
}

bool CameraListModel::canDropMimeData(const QMimeData *data, Qt::DropAction action, int, int,
                                      const QModelIndex &) const {
    return action == Qt::MoveAction && data->hasFormat(cameraRowType());
}

bool CameraListModel::dropMimeData(const QMimeData *data, Qt::DropAction action, int row, int,
                                   const QModelIndex &parent) {
    if (action != Qt::MoveAction || !data->hasFormat(cameraRowType()))
        return false;
    const auto source = draggedRow(QString::fromUtf8(data->data(cameraRowType())), rowCount());
    if (!source)
        return false;
    int gap = row >= 0 ? row : rowCount();
    if (row < 0 && parent.isValid())
        gap = parent.row();
    const int destination = destinationOfDrop(*source, gap);
    move(*source, destination);
    Q_EMIT rowDropped(destination);
    return true;
}

} // namespace lumvik
