#pragma once

#include "testcamera/OnvifLogin.h"
#include "testcamera/OnvifReplies.h"

#include <QByteArray>
#include <QHostAddress>
#include <QString>
#include <QTcpServer>

#include <memory>
#include <tl/expected.hpp>
#include <vector>

class QTcpSocket;
class QUdpSocket;

namespace lumvik::test {

/// The ONVIF side of the camera: replies to probes of WS-Discovery, and to the calls that lead to
/// the addresses of the streams.
///
/// The server uses Qt's sockets on the main thread. On Linux, Qt takes part in GLib's main loop.
class OnvifServer {
  public:
    /// Starts to serve. `rtspPort` is the port of the streams, and `lock` counts the logins. The
    /// error is the reason for a failure, for example that a port is in use.
    [[nodiscard]] static tl::expected<std::unique_ptr<OnvifServer>, QString>
    start(const CameraOptions &options, std::uint16_t rtspPort, LoginLock &lock);

    OnvifServer(const OnvifServer &) = delete;
    OnvifServer &operator=(const OnvifServer &) = delete;
    ~OnvifServer();

    /// Returns the address of the device service.
    [[nodiscard]] QString url() const;

  private:
    OnvifServer(const CameraOptions &options, LoginLock &lock);
    [[nodiscard]] tl::expected<void, QString> listen(std::uint16_t rtspPort);
    /// Awaits probes on the interfaces that have `m_address`, by the IP version of `any`.
    [[nodiscard]] tl::expected<void, QString> awaitProbes(const QHostAddress &any);
    /// Replies to the probes that have arrived on the interfaces with the given indexes.
    void readProbes(QUdpSocket &socket, const QSet<int> &interfaces);
    void takeConnection(QTcpSocket *socket);
    void readRequest(QTcpSocket &socket, QByteArray &received);
    [[nodiscard]] QByteArray response(const QByteArray &head, const QByteArray &body,
                                      const QString &host);

    const CameraOptions m_options;
    const QHostAddress m_address;
    OnvifLogin m_login;
    std::unique_ptr<OnvifReplies> m_replies;
    QTcpServer m_server;
    std::vector<std::unique_ptr<QUdpSocket>> m_sockets;
    QStringList m_answered; ///< The identifiers of the last probes.
};

} // namespace lumvik::test
