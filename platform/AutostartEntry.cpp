#include "platform/AutostartEntry.h"

#include "platform/AtomicWrite.h"
#include "platform/LumvikLog.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QStandardPaths>

#include <cerrno>
#include <system_error>
#include <utility>

namespace lumvik {

namespace {

/// Entries of desktops have a few hundred bytes.
constexpr qint64 longestEntry = 65'536;

/// Escapes a value of type "string".
QString escapedString(QString value) {
    return value.replace(QLatin1Char('\\'), QLatin1String("\\\\"))
        .replace(QLatin1Char('\n'), QLatin1String("\\n"))
        .replace(QLatin1Char('\r'), QLatin1String("\\r"))
        .replace(QLatin1Char('\t'), QLatin1String("\\t"));
}

/// Quotes an argument of a command line, and escapes the command line as a string.
QString quotedArgument(const QString &argument) {
    QString quoted;
    for (const QChar each : argument) {
        if (QStringLiteral("\"`$\\").contains(each))
            quoted += QLatin1Char('\\');
        else if (each == QLatin1Char('%')) // would begin a field code
            quoted += QLatin1Char('%');
        quoted += each;
    }
    return escapedString(QLatin1Char('"') + quoted + QLatin1Char('"'));
}

QString fileIn(const QString &folder) {
    return folder + QLatin1Char('/') + QLatin1String(LumvikLog::subsystem) +
           QStringLiteral(".desktop");
}

tl::unexpected<QString> problem(int error) {
    return tl::unexpected(QString::fromStdString(std::generic_category().message(error)));
}

} // namespace

QByteArray autostartEntryText(const QString &program) {
    return QStringLiteral("[Desktop Entry]\n"
                          "Type=Application\n"
                          "Name=Lumvik\n"
                          "Comment=Shows a network camera\n"
                          "Icon=%1\n"
                          "TryExec=%2\n"
                          "Exec=%3 --%4\n")
        .arg(QLatin1String(LumvikLog::subsystem), escapedString(program), quotedArgument(program),
             atLoginOption)
        .toUtf8();
}

bool isActiveAutostartEntry(const QByteArray &text) {
    bool isInGroup = false;
    bool hasGroup = false;
    for (const QByteArray &each : text.split('\n')) {
        const QByteArray line = each.trimmed();
        if (line.startsWith('[')) {
            isInGroup = line == "[Desktop Entry]";
            hasGroup = hasGroup || isInGroup;
        }
        const qsizetype equals = line.indexOf('=');
        if (!isInGroup || equals < 0)
            continue;
        const QByteArray key = line.first(equals).trimmed();
        const QByteArray value = line.sliced(equals + 1).trimmed();
        if ((key == "Hidden" && value == "true") ||
            (key == "X-GNOME-Autostart-enabled" && value == "false"))
            return false;
    }
    return hasGroup;
}

AutostartEntry::AutostartEntry(QString folder, QString program)
    : m_folder(std::move(folder))
    , m_program(std::move(program)) {}

AutostartEntry AutostartEntry::standard() {
    const QString image = qEnvironmentVariable("APPIMAGE");
    QString program = image.isEmpty() ? QCoreApplication::applicationFilePath() : image;
    if (qEnvironmentVariableIsSet("FLATPAK_ID"))
        program.clear();
    return {QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
                QStringLiteral("/autostart"),
            program};
}

bool AutostartEntry::isOn() const {
    QFile file(fileIn(m_folder));
    return file.open(QIODevice::ReadOnly) && isActiveAutostartEntry(file.read(longestEntry));
}

tl::expected<void, QString> AutostartEntry::setOn(bool isOn) const {
    if (!isOn) {
        QFile file(fileIn(m_folder));
        if (file.exists() && !file.remove())
            return tl::unexpected(file.errorString());
        return {};
    }
    if (!QDir().mkpath(m_folder))
        return problem(errno);
    if (const int error =
            writeFileAtomically(autostartEntryText(m_program), fileIn(m_folder).toStdString()))
        return problem(error);
    return {};
}

} // namespace lumvik
