#pragma once

#include "FaultFixture.h"
#include "fakes/LogindDouble.h"
#include "fakes/PrivateBus.h"

#include <memory>

namespace lumvik::test {

/// The base of tests in which the machine sleeps and wakes. The viewer's system bus is a private
/// bus, on which a test double of the login manager runs.
class SleepFaultFixture : public FaultFixture {
  protected:
    /// Skips the test when no message bus can be started.
    void SetUp() override;

    /// Shows the camera and waits until the viewer holds a sleep inhibitor.
    void showCameraAndAwaitInhibitor();
    /// Announces sleep and waits until the viewer releases its inhibitor. The viewer may release
    /// the inhibitor only after the stream has stopped.
    void fallAsleep();
    /// Simulates sleep for `duration`, during which the window must be black and the viewer must
    /// neither schedule a recovery nor connect to the camera. Then exactly one recovery attempt
    /// must restore the live picture within five seconds.
    void testSleep(Milliseconds duration);

    static const QString sleeping;
    static const QString waking;

    PrivateBus bus;
    std::unique_ptr<LogindDouble> logind;
    CameraProcess *camera = nullptr; // owned by `cameras`
};

} // namespace lumvik::test
