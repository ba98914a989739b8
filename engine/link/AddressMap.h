#pragma once

#include <QByteArray>

#include <vector>

namespace lumvik {

/// Translates between the addresses that the camera uses in its messages and the addresses that the
/// engine sees instead, which name a port of this machine and contain nothing of the camera's.
///
/// Addresses are texts here: whatever host they name, requests go to the same connection. An
/// address that begins with a known one gets the same ending; every other address gets a number of
/// its own. A translated address ends with "/" exactly if the original does, because the engine
/// appends the names of tracks to it. A plain value.
class AddressMap {
  public:
    /// `engineBase` is the beginning of all addresses that the engine sees, without "/" at the end.
    /// `cameraBase` is the camera's address.
    AddressMap(QByteArray engineBase, const QByteArray &cameraBase);

    /// The engine's address for the camera's address.
    [[nodiscard]] QByteArray engineAddress() const { return m_pairs.front().engine; }

    /// Returns the address that the engine is told for `address`. Texts that are no RTSP address,
    /// and addresses beyond a number that no camera needs, are returned unchanged.
    [[nodiscard]] QByteArray toEngine(const QByteArray &address);
    /// Returns the camera's address for one that the engine uses, or `address` itself if it was
    /// never translated.
    [[nodiscard]] QByteArray toCamera(const QByteArray &address) const;
    /// From now on, `engineAddress` stands for `cameraBase`.
    void replaceBase(const QByteArray &cameraBase);

  private:
    struct Pair {
        QByteArray camera;
        QByteArray engine;
    };

    QByteArray m_engineBase;
    std::vector<Pair> m_pairs; ///< The first pair is the base.
};

} // namespace lumvik
