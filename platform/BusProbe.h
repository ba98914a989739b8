#pragma once

#include <QString>

#include <chrono>
#include <tl/expected.hpp>

namespace lumvik {

/// Why a message bus cannot be used.
struct BusProblem {
    bool isUnresponsive = false; ///< The bus accepts connections but never replies.
    QString reason;              ///< The problem in plain words, such as "there is no system bus".
};

/// Finds the first responsive message bus in `addresses` (as in DBUS_SYSTEM_BUS_ADDRESS: one or
/// more, separated by semicolons). Returns the address of that bus, or the reason why no bus is
/// usable. `busName` is the name of the bus in the reason, for example "system bus".
///
/// The D-Bus library blocks on a bus that accepts connections but never replies, and every other
/// use of message buses in the process then blocks too. The D-Bus library must therefore be given
/// only the address of a responsive bus. Buses on transports other than local sockets are not
/// probed and count as responsive.
///
/// The function blocks for at most `limit` per address, but returns at once when the descriptor
/// `abandon` becomes readable; pass -1 if the probe need not be interruptible.
[[nodiscard]] tl::expected<QString, BusProblem> findResponsiveBus(const QString &busName,
                                                                  const QString &addresses,
                                                                  int abandon,
                                                                  std::chrono::milliseconds limit);

} // namespace lumvik
