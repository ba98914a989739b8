#pragma once

#include <QDateTime>
#include <QList>
#include <QSize>
#include <QString>

#include <optional>

namespace lumvik {

/// What is known about the stream that is shown. It contains neither the path of the address nor
/// user name and password.
struct StreamDetails {
    QString camera = {};  ///< The camera's name.
    QString host = {};    ///< Empty if unknown.
    int port = 0;         ///< Of the host.
    QString state = {};   ///< Of the picture, in words.
    QString codec = {};   ///< As the engine names it, for example "h264". Empty if unknown.
    QSize size = {};      ///< Of the picture as it is shown, in pixels. Empty if unknown.
    QString decoder = {}; ///< As the engine names it. Empty if unknown.
    QString renderer = {};
    std::optional<double> picturesPerSecond = std::nullopt;
    std::optional<double> bitsPerSecond = std::nullopt;
    std::optional<double> delay = std::nullopt;    ///< From arrival to screen, in seconds.
    std::optional<double> lateness = std::nullopt; ///< Of the newest picture, in seconds.
    std::optional<double> uptime = std::nullopt;   ///< Of the stream, in seconds.
    int recoveriesToday = 0;   ///< How often the picture came back after an interruption.
    QString lastRecovery = {}; ///< The reason of its interruption. Empty if there was none.
    QDateTime lastRecoveryTime = {};
};

/// A label and its value.
struct StreamDetailsRow {
    QString label;
    QString value;

    friend bool operator==(const StreamDetailsRow &, const StreamDetailsRow &) = default;
};

/// Returns the rows that are shown. What is unknown has a dash. `today` is the local date.
[[nodiscard]] QList<StreamDetailsRow> streamDetailsRows(const StreamDetails &details,
                                                        const QDate &today);

/// Returns the text for a report to the author: the rows, `versions` and `logLines`.
[[nodiscard]] QString diagnosisText(const QList<StreamDetailsRow> &rows,
                                    const QList<StreamDetailsRow> &versions,
                                    const QStringList &logLines);

} // namespace lumvik
