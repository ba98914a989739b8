#pragma once

#include "engine/link/CameraEndpoint.h"
#include "engine/link/CameraLink.h"
#include "engine/link/LinkFact.h"
#include "platform/network/HostLookup.h"

#include <functional>
#include <memory>

namespace lumvik {

class SerialQueue;

/// A CameraLink over TCP.
///
/// The link listens on a port of the loopback interface, which accepts one connection, and only
/// from this process. It connects to the camera and passes on what both sides say, as LinkDialogue
/// decides. The sockets belong to the queue's thread, so a busy main thread delays no packet.
class TcpCameraLink final : public CameraLink {
  public:
    /// Starts to connect to the camera. `handler` runs on the queue's thread. Returns null if no
    /// port can be opened. `queue` must outlive the link.
    [[nodiscard]] static std::unique_ptr<TcpCameraLink>
    open(const CameraEndpoint &endpoint, SerialQueue &queue, LinkFactHandler handler = {},
         NameResolver resolver = resolveWithSystem);
    /// Closes the link without waiting.
    ~TcpCameraLink() override;

    [[nodiscard]] QByteArray engineAddress() const override;
    void close() override;
    bool waitUntilClosed(std::chrono::milliseconds timeLimit) override;

  private:
    class Session;

    explicit TcpCameraLink(std::shared_ptr<Session> session);

    std::shared_ptr<Session> m_session;
};

} // namespace lumvik
