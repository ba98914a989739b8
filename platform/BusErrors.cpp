#include "platform/BusErrors.h"

#include <QDBusError>

namespace lumvik {

bool meansAbsence(const QDBusError &error) {
    return error.type() == QDBusError::ServiceUnknown ||
           error.name() == QStringLiteral("org.freedesktop.DBus.Error.NameHasNoOwner") ||
           error.name().startsWith(QStringLiteral("org.freedesktop.DBus.Error.Spawn."));
}

QString reasonOf(const QDBusError &error) {
    QString reason = error.message().isEmpty() ? error.name() : error.message();
    while (reason.endsWith(u'.'))
        reason.chop(1);
    return reason;
}

} // namespace lumvik
