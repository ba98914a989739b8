#include "supervision/StreamDetails.h"

#include <QStringList>

#include <cmath>

namespace lumvik {

namespace {

const QString unknown = QStringLiteral("–");

QString textOrUnknown(const QString &text) {
    return text.isEmpty() ? unknown : text;
}

QString bitRateText(std::optional<double> rate) {
    if (!rate)
        return unknown;
    constexpr double kilo = 1e3;
    constexpr double mega = 1e6;
    return *rate < mega ? QStringLiteral("%1 kbit/s").arg(*rate / kilo, 0, 'f', 0)
                        : QStringLiteral("%1 Mbit/s").arg(*rate / mega, 0, 'f', 1);
}

QString millisecondsText(std::optional<double> seconds) {
    constexpr double milliseconds = 1000;
    return seconds ? QStringLiteral("%1 ms").arg(*seconds * milliseconds, 0, 'f', 0) : unknown;
}

/// Small values are the normal jitter of a network.
QString latenessText(std::optional<double> seconds) {
    constexpr double noticeable = 0.1;
    if (!seconds)
        return unknown;
    return *seconds < noticeable ? QStringLiteral("none")
                                 : QStringLiteral("%1 s").arg(*seconds, 0, 'f', 1);
}

QString durationText(std::optional<double> seconds) {
    if (!seconds)
        return unknown;
    constexpr qint64 minute = 60;
    constexpr qint64 hour = 60 * minute;
    constexpr qint64 day = 24 * hour;
    const auto whole = static_cast<qint64>(*seconds);
    const QString clock = QStringLiteral("%1:%2:%3")
                              .arg(whole % day / hour)
                              .arg(whole % hour / minute, 2, 10, QLatin1Char('0'))
                              .arg(whole % minute, 2, 10, QLatin1Char('0'));
    return whole < day ? clock : QStringLiteral("%1 d %2").arg(whole / day).arg(clock);
}

QString addressText(const StreamDetails &details) {
    if (details.host.isEmpty())
        return unknown;
    const bool isIPv6 = details.host.contains(u':');
    return (isIPv6 ? QStringLiteral("[%1]:%2") : QStringLiteral("%1:%2"))
        .arg(details.host)
        .arg(details.port);
}

QString lastRecoveryText(const StreamDetails &details, const QDate &today) {
    if (details.lastRecovery.isEmpty())
        return QStringLiteral("none");
    const QString format = details.lastRecoveryTime.date() == today
                               ? QStringLiteral("HH:mm:ss")
                               : QStringLiteral("d MMMM HH:mm:ss");
    return QStringLiteral("%1, %2").arg(details.lastRecoveryTime.toString(format),
                                        details.lastRecovery);
}

} // namespace

QList<StreamDetailsRow> streamDetailsRows(const StreamDetails &details, const QDate &today) {
    const QString size =
        details.size.isEmpty()
            ? unknown
            : QStringLiteral("%1 × %2").arg(details.size.width()).arg(details.size.height());
    const QString rate = details.picturesPerSecond
                             ? QStringLiteral("%1 fps").arg(*details.picturesPerSecond, 0, 'f', 1)
                             : unknown;
    return {{QStringLiteral("Camera"), textOrUnknown(details.camera)},
            {QStringLiteral("Host"), addressText(details)},
            {QStringLiteral("Picture"), textOrUnknown(details.state)},
            {QStringLiteral("Codec"), textOrUnknown(details.codec)},
            {QStringLiteral("Resolution"), size},
            {QStringLiteral("Frame rate"), rate},
            {QStringLiteral("Bit rate"), bitRateText(details.bitsPerSecond)},
            {QStringLiteral("Decoder"), textOrUnknown(details.decoder)},
            {QStringLiteral("Renderer"), textOrUnknown(details.renderer)},
            {QStringLiteral("Arrival to screen"), millisecondsText(details.delay)},
            {QStringLiteral("Lateness"), latenessText(details.lateness)},
            {QStringLiteral("Playing for"), durationText(details.uptime)},
            {QStringLiteral("Recoveries today"), QString::number(details.recoveriesToday)},
            {QStringLiteral("Last recovery"), lastRecoveryText(details, today)}};
}

QString diagnosisText(const QList<StreamDetailsRow> &rows, const QList<StreamDetailsRow> &versions,
                      const QStringList &logLines) {
    QStringList lines;
    const auto addRows = [&lines](const QList<StreamDetailsRow> &added) {
        for (const StreamDetailsRow &row : added)
            lines.append(QStringLiteral("%1: %2").arg(row.label, row.value));
        lines.append(QString());
    };
    addRows(rows);
    addRows(versions);
    lines.append(logLines);
    return lines.join(u'\n') + u'\n';
}

} // namespace lumvik
