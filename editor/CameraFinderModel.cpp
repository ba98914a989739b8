#include "editor/CameraFinderModel.h"

#include "configuration/CameraAddress.h"

#include <QHostAddress>
#include <QUrl>

#include <algorithm>
#include <cstring>

namespace lumvik {

namespace {

/// Returns an IP address in the one form in which hosts are compared, or an empty text.
QString plainHost(const QString &host) {
    QHostAddress address(host);
    bool isVersion4 = false;
    const quint32 number = address.toIPv4Address(&isVersion4);
    if (isVersion4)
        return QHostAddress(number).toString();
    address.setScopeId({});
    return address.toString();
}

/// Returns below, equal to or above 0, as IP addresses are counted.
int compareHosts(const QString &one, const QString &other) {
    const Q_IPV6ADDR left = QHostAddress(one).toIPv6Address();
    const Q_IPV6ADDR right = QHostAddress(other).toIPv6Address();
    return std::memcmp(left.c, right.c, sizeof left.c);
}

} // namespace

QString nameOfFound(const FoundCamera &camera) {
    for (const QString &each : {camera.name, camera.hardware})
        if (!each.trimmed().isEmpty())
            return each.trimmed();
    return QStringLiteral("Camera at %1").arg(camera.serviceAddress.host());
}

CameraFinderModel::CameraFinderModel() {
    m_nameOrder.setCaseSensitivity(Qt::CaseInsensitive);
}

// ---- Changing the rows ----

void CameraFinderModel::clear() {
    beginResetModel();
    m_cameras.clear();
    endResetModel();
}

void CameraFinderModel::put(const FoundCamera &camera) {
    const int known = rowOf(camera.identity);
    int place = placeOf(camera);
    if (known < 0) {
        beginInsertRows({}, place, place);
        m_cameras.insert(m_cameras.begin() + place, camera);
        endInsertRows();
        return;
    }
    // Qt counts the destination of a move before the row has left its place.
    const bool moves = place != known && place != known + 1;
    if (moves)
        beginMoveRows({}, known, known, {}, place);
    m_cameras.erase(m_cameras.begin() + known);
    if (place > known)
        --place;
    m_cameras.insert(m_cameras.begin() + place, camera);
    if (moves)
        endMoveRows();
    Q_EMIT dataChanged(index(place, 0), index(place, numberOfColumns - 1));
}

void CameraFinderModel::setListedAddresses(const QStringList &addresses) {
    m_listedHosts.clear();
    for (const QString &each : addresses)
        m_listedHosts.insert(plainHost(QUrl(encodedCameraAddress(each)).host()));
    m_listedHosts.remove({}); // Stands for all hosts that are names.
    if (!m_cameras.empty())
        Q_EMIT dataChanged(index(0, 0), index(rowCount() - 1, numberOfColumns - 1));
}

bool CameraFinderModel::isBefore(const FoundCamera &one, const FoundCamera &other) const {
    if (const int order = m_nameOrder.compare(nameOfFound(one), nameOfFound(other)); order != 0)
        return order < 0;
    const int order = compareHosts(one.serviceAddress.host(), other.serviceAddress.host());
    return order != 0 ? order < 0 : one.identity < other.identity;
}

int CameraFinderModel::placeOf(const FoundCamera &camera) const {
    // Not a binary search: the camera itself may be among the rows with another address.
    const auto next =
        std::find_if(m_cameras.begin(), m_cameras.end(), [&](const FoundCamera &each) {
            return each.identity != camera.identity && isBefore(camera, each);
        });
    return static_cast<int>(next - m_cameras.begin());
}

// ---- Reading the rows ----

int CameraFinderModel::rowOf(const QString &identity) const {
    const auto found =
        std::find_if(m_cameras.begin(), m_cameras.end(),
                     [&](const FoundCamera &each) { return each.identity == identity; });
    return found == m_cameras.end() ? -1 : static_cast<int>(found - m_cameras.begin());
}

const FoundCamera *CameraFinderModel::camera(int row) const {
    return row < 0 || row >= rowCount() ? nullptr : &m_cameras[static_cast<std::size_t>(row)];
}

bool CameraFinderModel::isListed(int row) const {
    const FoundCamera *each = camera(row);
    return each != nullptr && m_listedHosts.contains(plainHost(each->serviceAddress.host()));
}

int CameraFinderModel::rowCount(const QModelIndex &parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_cameras.size());
}

int CameraFinderModel::columnCount(const QModelIndex &parent) const {
    return parent.isValid() ? 0 : numberOfColumns;
}

QString CameraFinderModel::textAt(int row, int column) const {
    const FoundCamera &each = *camera(row);
    switch (column) {
    case name:
        return nameOfFound(each);
    case model:
        return each.hardware;
    case address:
        return each.serviceAddress.host();
    case listed:
        return isListed(row) ? QStringLiteral("In the list") : QString();
    default:
        return {};
    }
}

QVariant CameraFinderModel::data(const QModelIndex &index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    if (role == Qt::AccessibleTextRole && index.column() == name) {
        QStringList texts;
        for (int column = 0; column < numberOfColumns; ++column)
            texts.append(textAt(index.row(), column));
        texts.removeAll(QString());
        return texts.join(QStringLiteral(", "));
    }
    return role == Qt::DisplayRole ? textAt(index.row(), index.column()) : QVariant();
}

QVariant CameraFinderModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal)
        return {};
    if (role == Qt::TextAlignmentRole)
        return QVariant(Qt::AlignLeft | Qt::AlignVCenter);
    if (role == Qt::AccessibleTextRole && section == listed)
        return QStringLiteral("In the list"); // The column has no visible title.
    if (role != Qt::DisplayRole)
        return {};
    switch (section) {
    case name:
        return QStringLiteral("Camera");
    case model:
        return QStringLiteral("Model");
    case address:
        return QStringLiteral("Address");
    default:
        return QString();
    }
}

} // namespace lumvik
