#include "platform/UserDefaults.h"

#include "platform/LumvikLog.h"

#include <QStandardPaths>

namespace lumvik {

UserDefaults::UserDefaults(const QString &path) : m_settings(path, QSettings::IniFormat) {}

QString UserDefaults::standardPath() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/lumvik/lumvik.conf");
}

std::optional<int> UserDefaults::integer(const QString &key) const {
    bool isNumber = false;
    const int value = m_settings.value(key).toString().toInt(&isNumber);
    return isNumber ? std::optional(value) : std::nullopt;
}

bool UserDefaults::boolean(const QString &key) const {
    return m_settings.value(key).toString() == QLatin1String("true");
}

QString UserDefaults::string(const QString &key) const {
    return m_settings.value(key).toString();
}

void UserDefaults::set(const QString &key, const QVariant &value) {
    m_settings.setValue(key, value);
}

void UserDefaults::synchronize() {
    m_settings.sync();
    if (m_settings.status() != QSettings::NoError && !m_reportedFailure) {
        m_reportedFailure = true;
        LumvikLog::configuration().error(
            QStringLiteral("The preferences could not be read or written: %1.")
                .arg(m_settings.fileName()));
    }
}

} // namespace lumvik
