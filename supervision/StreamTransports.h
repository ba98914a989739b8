#pragma once

#include <QMap>
#include <QString>

namespace lumvik {

/// Remembers, until the program ends, which cameras send over UDP only. The link knows no UDP, so
/// the engine connects to these cameras itself.
///
/// A plain value. Cameras are told apart by their addresses.
class StreamTransports {
  public:
    enum class Transport { tcp, udp };

    /// Returns how the camera with the address `url` is loaded now. A load over UDP that shows no
    /// frame is followed by one over TCP, because the camera may have been replaced.
    [[nodiscard]] Transport beginLoad(const QString &url);
    /// A frame of the camera is on the screen.
    void frameWasShown(const QString &url);
    /// The camera has refused to send over TCP, so that the next load uses UDP. Returns whether
    /// that load should begin at once. If not, UDP was tried a moment ago, in vain.
    [[nodiscard]] bool tcpWasRefused(const QString &url);

  private:
    struct Camera {
        bool triesUdp = false;     // at the next load
        bool loadsOverUdp = false; // now
        bool udpHasFailed = false; // the last load over UDP, as long as it shows no frame
    };

    QMap<QString, Camera> m_cameras; // those that have refused TCP
};

} // namespace lumvik
