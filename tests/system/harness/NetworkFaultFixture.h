#pragma once

#include "FaultFixture.h"
#include "NetworkNamespace.h"

#include <functional>

namespace lumvik::test {

/// The base of tests with faults of the network between the viewer and the camera. The viewer and
/// the camera run on two simulated machines, which a simulated cable connects (see CameraNetwork).
/// The viewer's connection to the display does not use this network.
class NetworkFaultFixture : public FaultFixture {
  protected:
    /// Skips the test when the system does not permit private networks.
    void SetUp() override;

    /// Starts the simulated network. The viewer, and cameras with the setup `networkCamera()`, run
    /// in this network if they are started later. Fails the test when the network cannot be
    /// started.
    void startNetwork(CameraNetwork::Cable cable = CameraNetwork::Cable::plugged);
    /// The setup of a camera in the simulated network.
    [[nodiscard]] CameraSetup networkCamera() const;
    /// Starts the network, the camera and the viewer, and waits until the picture is live.
    void showCameraOverNetwork();
    /// Starts the viewer in a small window, without waiting for a picture.
    void startSmallViewer();

    /// An interruption of the network, with functions that begin and end the interruption.
    struct Cut {
        const char *name;
        std::function<testing::AssertionResult(CameraNetwork &)> begin;
        std::function<testing::AssertionResult(CameraNetwork &)> end;
    };
    /// An interruption in which the viewer's network interface is switched off.
    static const Cut interfaceDown;
    /// An interruption in which the camera's network interface is switched off, so the viewer's
    /// interface loses its carrier.
    static const Cut cableOut;

    /// Interrupts the network for `duration` while the picture is live. During the interruption,
    /// the viewer must not schedule a recovery, and a still picture must disappear in time. After
    /// the interruption, the live picture must return within five seconds, and exactly one recovery
    /// attempt may be scheduled.
    void testInterruption(const Cut &cut, Milliseconds duration);

    enum class Connection {
        mayLiveOn, ///< Frames may still arrive over the old connection and make the scheduled
                   ///< attempt unnecessary.
        isDead,    ///< Only a new connection can restore the picture.
    };
    /// Waits until the live picture returns, which must happen within five seconds of
    /// `faultIsOver`. Fails the test unless exactly one recovery attempt was scheduled from log
    /// line `mark` on, and that attempt was to create a new player.
    void expectOneAttempt(qsizetype mark, Connection connection);
    /// Runs the event loop for `duration` and fails the test when `condition` does not hold
    /// throughout.
    static void expectThroughout(Milliseconds duration,
                                 const std::function<testing::AssertionResult()> &condition);

    /// Drags the window by its picture, and fails the test when the window does not follow the
    /// pointer.
    void expectWindowMoves();
    /// Clicks the close button and fails the test unless the viewer exits cleanly within three
    /// seconds.
    void expectCloseButtonEndsViewer();

    static const QString pathLost;
    static const QString pathFound;
    static const QString networkReason;
    static const QString engineStarted;

    CameraNetwork network;
};

} // namespace lumvik::test
