#pragma once

#include "NetworkFaultFixture.h"
#include "Responsiveness.h"

namespace lumvik::test {

/// Cameras whose host names cannot be resolved. A look-up must not block the window, which is
/// measured from outside throughout.
class NameFaultFixture : public NetworkFaultFixture {
  protected:
    /// An address by name, with the tests' user and password.
    [[nodiscard]] static QString named(const QString &name, int port = 554);
    /// Starts a network whose name server never replies, so every look-up takes as long as
    /// `options` (as in resolv.conf) allow.
    void startNetworkWithUnresponsiveNameServer(const QByteArray &options = {});
    /// Starts the viewer in a small window, and starts to measure its responsiveness.
    void startMeasuredViewer();
    /// Ends the measurement and fails the test when a look-up blocked the window.
    void expectResponsive(const char *what);

    static const QString startedGeneration;
    static const QString hostName;

    std::unique_ptr<Responsiveness> responsiveness;
};

} // namespace lumvik::test
