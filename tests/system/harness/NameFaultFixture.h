#pragma once

#include "NetworkFaultFixture.h"
#include "Responsiveness.h"

namespace lumvik::test {

/// Cameras whose names cannot be looked up. The window must not be held up by that, which is
/// measured from outside all the while.
class NameFaultFixture : public NetworkFaultFixture {
  protected:
    /// An address by name, with the tests' user and password.
    [[nodiscard]] static QString named(const QString &name, int port = 554);
    /// Starts a network in which every look-up of a name lasts as long as `options` (as in
    /// resolv.conf) let it, since nothing answers.
    void startNetworkWithDeafNameServer(const QByteArray &options = {});
    /// Starts the viewer in a small window, and to measure how it responds.
    void startMeasuredViewer();
    /// Ends the measurement and fails the test where the window was ever held up for longer than a
    /// user would notice.
    void expectResponsive(const char *what);

    static const QString startedGeneration;
    static const QString deafName;

    std::unique_ptr<Responsiveness> responsiveness;
};

} // namespace lumvik::test
