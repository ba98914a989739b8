#include "platform/UserDefaults.h"

#include "platform/LumvikLog.h"

#include <QStandardPaths>

namespace lumvik {

namespace {

constexpr int writingDelay = 500; // milliseconds

} // namespace

UserDefaults::UserDefaults(const QString &path) : m_settings(path, QSettings::IniFormat) {
    m_writing.setSingleShot(true);
    m_writing.setInterval(writingDelay);
    QObject::connect(&m_writing, &QTimer::timeout, &m_settings, [this] { synchronize(); });
}

UserDefaults::~UserDefaults() {
    synchronize();
}

QVariant UserDefaults::value(const QString &key) const {
    const auto pending = m_pending.constFind(key);
    return pending == m_pending.constEnd() ? m_settings.value(key) : *pending;
}

QString UserDefaults::standardPath() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/lumvik/lumvik.conf");
}

std::optional<int> UserDefaults::integer(const QString &key) const {
    bool isNumber = false;
    const int number = value(key).toString().toInt(&isNumber);
    return isNumber ? std::optional(number) : std::nullopt;
}

bool UserDefaults::boolean(const QString &key, bool fallback) const {
    const QString text = value(key).toString();
    if (text == QLatin1String("true"))
        return true;
    return text != QLatin1String("false") && fallback;
}

QString UserDefaults::string(const QString &key) const {
    return value(key).toString();
}

std::optional<QDateTime> UserDefaults::date(const QString &key) const {
    const QDateTime date = QDateTime::fromString(string(key), Qt::ISODateWithMs);
    return date.isValid() ? std::optional(date.toUTC()) : std::nullopt;
}

void UserDefaults::set(const QString &key, const QVariant &value) {
    // Qt's own format for dates in INI files is not human-readable.
    const bool isDate = value.typeId() == QMetaType::QDateTime;
    m_pending.insert(key, isDate ? value.toDateTime().toUTC().toString(Qt::ISODateWithMs) : value);
    if (!m_writing.isActive())
        m_writing.start();
}

void UserDefaults::synchronize() {
    m_writing.stop();
    for (auto entry = m_pending.constBegin(); entry != m_pending.constEnd(); ++entry)
        m_settings.setValue(entry.key(), entry.value());
    m_pending.clear();
    m_settings.sync();
    if (m_settings.status() != QSettings::NoError && !m_reportedFailure) {
        m_reportedFailure = true;
        LumvikLog::configuration().error(
            QStringLiteral("The preferences could not be read or written: %1.")
                .arg(m_settings.fileName()));
    }
}

} // namespace lumvik
