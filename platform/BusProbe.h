#pragma once

#include <QString>

#include <chrono>
#include <tl/expected.hpp>

namespace lumvik {

/// Why a message bus cannot be used.
struct BusProblem {
    bool isSilent = false; ///< It accepts connections and then says nothing.
    QString reason;        ///< In plain words: "there is no system bus".
};

/// Finds the first of the message buses in `addresses` (as in DBUS_SYSTEM_BUS_ADDRESS: one or more,
/// separated by semicolons) that answers a greeting, and answers its address or why there is none.
/// Reasons call the bus by `busName` ("system bus").
///
/// The bus library waits for a bus that accepts connections and then says nothing, and with it
/// every other use of message buses in the process waits. So it is only let near one that talks.
/// Buses on other transports than local sockets are not greeted but taken to answer.
///
/// Blocks for at most `limit` for each address; ends at once when `abandon`, a descriptor, becomes
/// readable; -1 when nobody can want that.
[[nodiscard]] tl::expected<QString, BusProblem> findResponsiveBus(const QString &busName,
                                                                  const QString &addresses,
                                                                  int abandon,
                                                                  std::chrono::milliseconds limit);

} // namespace lumvik
