#pragma once

#include <QString>

class QDBusError;

namespace lumvik {

/// Returns whether `error` means that the service does not exist, rather than that it refused the
/// request.
[[nodiscard]] bool meansAbsence(const QDBusError &error);

/// Returns the message of `error` in a form that can end a sentence of the log.
[[nodiscard]] QString reasonOf(const QDBusError &error);

} // namespace lumvik
