#pragma once

#include "FaultFixture.h"
#include "NetworkNamespace.h"

#include <functional>

namespace lumvik::test {

/// Faults of the network between the viewer and the camera: each runs on a machine of its own, with
/// a cable between them (see CameraNetwork). The screen is reached past that network.
class NetworkFaultFixture : public FaultFixture {
  protected:
    /// Skips the test where the system permits no networks of one's own.
    void SetUp() override;

    /// Where the camera and the viewer are started from then on. Fails the test where they cannot.
    void startNetwork(CameraNetwork::Cable cable = CameraNetwork::Cable::plugged);
    /// The camera for this network.
    [[nodiscard]] CameraSetup networkCamera() const;
    /// Starts the network, the camera and the viewer, and waits until the picture moves.
    void showCameraOverNetwork();
    /// Starts the viewer in a small window, whatever its cameras may be.
    void startSmallViewer();

    /// What ends the traffic, and what lets it through again.
    struct Cut {
        const char *name;
        std::function<testing::AssertionResult(CameraNetwork &)> begin;
        std::function<testing::AssertionResult(CameraNetwork &)> end;
    };
    /// The viewer's own interface is switched off.
    static const Cut interfaceDown;
    /// The other end of the cable is dead, so that the viewer's interface has no carrier.
    static const Cut cableOut;

    /// Cuts the network for `duration` while the picture is live: playback is parked, and the
    /// picture that stands still does not do so for long. Then the live picture is back within five
    /// seconds, after one attempt at most.
    void testCut(const Cut &cut, Milliseconds duration);

    enum class Connection {
        mayLiveOn, ///< Pictures that it still brings make the attempt needless before its time.
        isDead,    ///< Only a new one brings the picture back.
    };
    /// Waits until the live picture is back, within five seconds of `faultIsOver`, and fails the
    /// test where there was not exactly one attempt since `mark`, one that re-creates the player.
    void expectOneAttempt(qsizetype mark, Connection connection);
    /// Runs on for `duration` and fails the test where `condition` stops being so.
    static void expectThroughout(Milliseconds duration,
                                 const std::function<testing::AssertionResult()> &condition);

    /// Drags the window by its picture, with whatever it shows, and fails the test where it does
    /// not follow.
    void expectWindowMoves();
    /// Clicks the close button and fails the test where the viewer has not ended in order within
    /// three seconds.
    void expectCloseButtonEndsViewer();

    static const QString pathLost;
    static const QString pathFound;
    static const QString networkReason;
    static const QString engineStarted;

    CameraNetwork network;
};

} // namespace lumvik::test
