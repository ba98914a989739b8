#pragma once

#include "FaultFixture.h"
#include "fakes/LogindDouble.h"
#include "fakes/PrivateBus.h"

#include <memory>

namespace lumvik::test {

/// A machine that sleeps and wakes: the viewer finds a login manager's double on what it takes for
/// the system bus.
class SleepFaultFixture : public FaultFixture {
  protected:
    /// Skips the test where there is no message bus to be started.
    void SetUp() override;

    /// Shows the camera and waits until the viewer holds sleep off.
    void showCameraAndAwaitInhibitor();
    /// Announces sleep and waits until the viewer lets the machine sleep, which it must not before
    /// the stream has stopped.
    void fallAsleep();
    /// Sleeps for `duration`, in which nothing happens; then one attempt brings the live picture
    /// back within five seconds.
    void testSleep(Milliseconds duration);

    static const QString sleeping;
    static const QString waking;

    PrivateBus bus;
    std::unique_ptr<LogindDouble> logind;
    CameraProcess *camera = nullptr; // one of `cameras`
};

} // namespace lumvik::test
