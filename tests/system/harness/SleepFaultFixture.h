#pragma once

#include "FaultFixture.h"
#include "fakes/LogindDouble.h"
#include "fakes/PrivateBus.h"

#include <memory>

namespace lumvik::test {

/// A machine that sleeps and wakes. The viewer uses a private bus as its system bus, on which a
/// test double of the login manager runs.
class SleepFaultFixture : public FaultFixture {
  protected:
    /// Skips the test when no message bus can be started.
    void SetUp() override;

    /// Shows the camera and waits until the viewer holds a sleep inhibitor.
    void showCameraAndAwaitInhibitor();
    /// Announces sleep and waits until the viewer releases its inhibitor, which it may do only
    /// after the stream has stopped.
    void fallAsleep();
    /// Sleeps for `duration`, during which nothing may happen. Then one attempt must restore the
    /// live picture within five seconds.
    void testSleep(Milliseconds duration);

    static const QString sleeping;
    static const QString waking;

    PrivateBus bus;
    std::unique_ptr<LogindDouble> logind;
    CameraProcess *camera = nullptr; // one of `cameras`
};

} // namespace lumvik::test
