#pragma once

#include <QSet>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <optional>

namespace lumvik::test {

/// The ways in which the ONVIF side of the camera deviates from a good camera.
enum class OnvifFault {
    ClockHourOff,    ///< The camera's clock is an hour ahead.
    LocalTime,       ///< Logins must have the camera's local time, two hours ahead of UTC.
    ClockWantsLogin, ///< Not even the time is told without a login.
    WrongHost,       ///< All addresses that the camera tells lead to another host.
    ThreeProfiles,   ///< The stream has three profiles with three addresses.
    OtherPrefixes,   ///< Messages use unusual prefixes for their namespaces.
    HttpDigest,      ///< Logins must be those of HTTP, not those of SOAP.
};

/// Returns the fault with the name, as in "clock-hour-off", or nothing.
[[nodiscard]] std::optional<OnvifFault> onvifFaultNamed(const QString &name);
/// Returns the names of all faults.
[[nodiscard]] QStringList onvifFaultNames();

/// What the command line says about ONVIF.
struct OnvifOptions {
    /// The port for the calls; 0 selects any free one. The camera has no ONVIF side without it.
    std::optional<std::uint16_t> port;
    /// The port on which probes are awaited. The default is WS-Discovery's.
    std::uint16_t discoveryPort = 3702;
    QSet<OnvifFault> faults;
};

} // namespace lumvik::test
