#pragma once

#include "engine/link/CameraEndpoint.h"
#include "engine/link/LinkFact.h"

#include <QByteArray>

#include <chrono>
#include <functional>
#include <memory>

namespace lumvik {

/// The connection between the engine and one camera, for one load. The engine connects to the link
/// instead of to the camera, and knows neither the camera's address nor its password.
///
/// The controller owns the link and uses it on the main thread.
class CameraLink {
  public:
    CameraLink() = default;
    CameraLink(const CameraLink &) = delete;
    CameraLink &operator=(const CameraLink &) = delete;
    virtual ~CameraLink() = default;

    /// The address for the engine, which names a port of this machine.
    [[nodiscard]] virtual QByteArray engineAddress() const = 0;

    /// Ends the session with the camera and closes the engine's connection, so that the engine does
    /// not wait for the camera. Returns at once. Later calls have no effect.
    virtual void close() = 0;
    /// Waits until the camera has confirmed the end of the session, or has no session, for at most
    /// `timeLimit`. Call `close` first. Returns whether the link has ended.
    virtual bool waitUntilClosed(std::chrono::milliseconds timeLimit) = 0;
};

/// Receives facts on a thread of the link's.
using LinkFactHandler = std::function<void(const LinkFact &)>;

/// Starts to connect to a camera. Returns null if that is not possible on this machine at the
/// moment; the engine then connects to the camera itself.
using CameraLinkFactory =
    std::function<std::unique_ptr<CameraLink>(const CameraEndpoint &, LinkFactHandler)>;

} // namespace lumvik
