#pragma once

#include "discovery/WsDiscoveryMessage.h"

#include <QAbstractTableModel>
#include <QCollator>
#include <QSet>
#include <QStringList>

#include <vector>

namespace lumvik {

/// Returns the name that a found camera gets in the camera list: what the camera calls itself, or
/// its model, or "Camera at" and its IP address.
[[nodiscard]] QString nameOfFound(const FoundCamera &camera);

/// The table of the cameras that a search has found. The rows are sorted by name in the collation
/// order of the user's language, ignoring case, and then by IP address. Cameras whose host is in
/// the camera list already are marked. Main thread only.
class CameraFinderModel final : public QAbstractTableModel {
    Q_OBJECT

  public:
    enum Column { name, model, address, listed, numberOfColumns };

    CameraFinderModel();

    /// Removes all rows.
    void clear();
    /// Adds a camera, or replaces the one with the same identity. Selections follow their rows.
    void put(const FoundCamera &camera);
    /// Sets the addresses of the camera list. Only hosts that are IP addresses are compared, since
    /// nothing is looked up. The scopes of IPv6 addresses make no difference.
    void setListedAddresses(const QStringList &addresses);

    /// Returns the row of a camera, or -1.
    [[nodiscard]] int rowOf(const QString &identity) const;
    /// Returns the camera in a row, or nullptr if there is no such row. The pointer is valid until
    /// the model changes.
    [[nodiscard]] const FoundCamera *camera(int row) const;
    [[nodiscard]] bool isListed(int row) const;

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex &parent = {}) const override;
    /// The accessible text of a name is that of the whole row, because a screen reader that moves
    /// from row to row reads the first column only.
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation,
                                      int role) const override;

  private:
    [[nodiscard]] bool isBefore(const FoundCamera &one, const FoundCamera &other) const;
    /// Returns the row above which a camera belongs.
    [[nodiscard]] int placeOf(const FoundCamera &camera) const;
    [[nodiscard]] QString textAt(int row, int column) const;

    QCollator m_nameOrder;
    std::vector<FoundCamera> m_cameras;
    QSet<QString> m_listedHosts; ///< As `plainHost` returns them.
};

} // namespace lumvik
