#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>

namespace lumvik {

/// Returns the INI file `file` with `values` set in its section [General]. Every other line stays
/// as it is, including comments and the values of other programs and versions. QSettings reads the
/// values back unchanged. The keys consist of ASCII letters and digits.
///
/// QSettings cannot write the file itself: when the disk is full, it replaces a good file by the
/// part that fits on the disk, and reports success.
[[nodiscard]] QByteArray withPreferences(const QByteArray &file,
                                         const QMap<QString, QString> &values);

} // namespace lumvik
