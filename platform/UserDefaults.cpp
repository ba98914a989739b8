#include "platform/UserDefaults.h"

#include "platform/AtomicWrite.h"
#include "platform/LumvikLog.h"
#include "platform/PreferenceFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryFile>

#include <utility>

namespace lumvik {

namespace {

constexpr int writingDelay = 500; // milliseconds

} // namespace

UserDefaults::UserDefaults(const QString &path) : m_path(path) {
    m_writing.setSingleShot(true);
    m_writing.setInterval(writingDelay);
    QObject::connect(&m_writing, &QTimer::timeout, &m_writing, [this] { synchronize(); });
    read();
}

UserDefaults::~UserDefaults() {
    synchronize();
}

QString UserDefaults::standardPath() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/lumvik/lumvik.conf");
}

QString UserDefaults::string(const QString &key) const {
    return m_pending.value(key, m_stored.value(key));
}

std::optional<int> UserDefaults::integer(const QString &key) const {
    bool isNumber = false;
    const int number = string(key).toInt(&isNumber);
    return isNumber ? std::optional(number) : std::nullopt;
}

bool UserDefaults::boolean(const QString &key, bool fallback) const {
    const QString text = string(key);
    if (text == QLatin1String("true"))
        return true;
    return text != QLatin1String("false") && fallback;
}

std::optional<QDateTime> UserDefaults::date(const QString &key) const {
    const QDateTime date = QDateTime::fromString(string(key), Qt::ISODateWithMs);
    return date.isValid() ? std::optional(date.toUTC()) : std::nullopt;
}

void UserDefaults::set(const QString &key, const QVariant &value) {
    // Qt's own format for dates in INI files is not human-readable.
    const bool isDate = value.typeId() == QMetaType::QDateTime;
    m_pending.insert(key, isDate ? value.toDateTime().toUTC().toString(Qt::ISODateWithMs)
                                 : value.toString());
    if (!m_writing.isActive())
        m_writing.start();
}

void UserDefaults::synchronize() {
    m_writing.stop();
    if (m_pending.isEmpty() || write())
        return;
    if (!std::exchange(m_reportedFailure, true)) {
        LumvikLog::configuration().error(
            QStringLiteral("The preferences could not be read or written: %1.").arg(m_path));
    }
}

void UserDefaults::read() {
    QFile file(m_path);
    const bool isOpen = file.open(QIODevice::ReadOnly);
    const QByteArray contents = isOpen ? file.readAll() : QByteArray();
    // What is known is kept while the file cannot be read. It is perhaps only for a moment.
    if ((!isOpen && file.exists()) || file.error() == QFileDevice::ReadError)
        return;
    if (contents == m_contents)
        return;
    m_contents = contents;
    // QSettings keeps what it has read as long as the file has the same size and time of change.
    // Two quick changes may have both in common, but a new copy has a name of its own.
    QTemporaryFile copy;
    const bool isCopied = copy.open() && copy.write(contents) == contents.size() && copy.flush();
    const QSettings settings(isCopied ? copy.fileName() : m_path, QSettings::IniFormat);
    m_stored.clear();
    const QStringList keys = settings.allKeys();
    for (const QString &key : keys)
        m_stored.insert(key, settings.value(key).toString());
}

bool UserDefaults::write() {
    // The file is read again, because another instance may have changed it.
    read();
    QFile file(m_path);
    QByteArray before;
    if (file.open(QIODevice::ReadOnly)) {
        before = file.readAll();
        if (file.error() != QFileDevice::NoError)
            return false;
    } else if (file.exists()) {
        return false; // A file that cannot be read must not be replaced.
    }
    if (!QDir().mkpath(QFileInfo(m_path).path()))
        return false;
    const QByteArray after = withPreferences(before, m_pending);
    if (writeFileAtomically(after, QFile::encodeName(m_path).toStdString()) != 0)
        return false;
    m_contents = after;
    m_stored.insert(m_pending);
    m_pending.clear();
    return true;
}

} // namespace lumvik
