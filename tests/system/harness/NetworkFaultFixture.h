#pragma once

#include "FaultFixture.h"
#include "NetworkNamespace.h"

#include <functional>

namespace lumvik::test {

/// Faults of the network between the viewer and the camera. Each runs on a simulated machine of its
/// own, and a cable connects the two (see CameraNetwork). The connection to the display does not
/// use this network.
class NetworkFaultFixture : public FaultFixture {
  protected:
    /// Skips the test when the system does not permit private networks.
    void SetUp() override;

    /// Starts the network in which the camera and the viewer are started from then on. Fails the
    /// test when this is impossible.
    void startNetwork(CameraNetwork::Cable cable = CameraNetwork::Cable::plugged);
    /// The camera for this network.
    [[nodiscard]] CameraSetup networkCamera() const;
    /// Starts the network, the camera and the viewer, and waits until the picture moves.
    void showCameraOverNetwork();
    /// Starts the viewer in a small window, whatever its cameras may be.
    void startSmallViewer();

    /// An interruption of the network: how it begins and how it ends.
    struct Cut {
        const char *name;
        std::function<testing::AssertionResult(CameraNetwork &)> begin;
        std::function<testing::AssertionResult(CameraNetwork &)> end;
    };
    /// The viewer's own interface is switched off.
    static const Cut interfaceDown;
    /// The other end of the cable is down, so the viewer's interface has no carrier.
    static const Cut cableOut;

    /// Interrupts the network for `duration` while the picture is live. Playback must be suspended,
    /// and the still picture must not stay for long. Afterwards the live picture must return within
    /// five seconds, after at most one attempt.
    void testInterruption(const Cut &cut, Milliseconds duration);

    enum class Connection {
        mayLiveOn, ///< Frames that still arrive make the scheduled attempt unnecessary.
        isDead,    ///< Only a new connection restores the picture.
    };
    /// Waits until the live picture returns within five seconds of `faultIsOver`. Fails the test
    /// unless exactly one attempt, which re-creates the player, was scheduled since `mark`.
    void expectOneAttempt(qsizetype mark, Connection connection);
    /// Runs the event loop for `duration` and fails the test when `condition` does not hold
    /// throughout.
    static void expectThroughout(Milliseconds duration,
                                 const std::function<testing::AssertionResult()> &condition);

    /// Drags the window by its picture and fails the test when it does not follow.
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
