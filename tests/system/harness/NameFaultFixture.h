#pragma once

#include "NetworkFaultFixture.h"
#include "Responsiveness.h"

namespace lumvik::test {

/// The base of tests with cameras whose host names cannot be resolved. A name look-up must not
/// block the viewer's window, so the tests measure the window's responsiveness.
class NameFaultFixture : public NetworkFaultFixture {
  protected:
    /// A camera address with the host name `name`, and with the user name and password of the
    /// tests.
    [[nodiscard]] static QString named(const QString &name, int port = 554);
    /// Starts a network whose name server never replies, so every look-up takes as long as
    /// `options` allows. `options` has the syntax of the options in resolv.conf.
    void startNetworkWithUnresponsiveNameServer(const QByteArray &options = {});
    /// Starts the viewer in a small window, and starts to measure the window's responsiveness.
    void startMeasuredViewer();
    /// Ends the measurement and fails the test when a look-up blocked the window.
    void expectResponsive(const char *what);

    static const QString startedGeneration;
    static const QString hostName;

    std::unique_ptr<Responsiveness> responsiveness;
};

} // namespace lumvik::test
