#pragma once

#include <QString>

namespace lumvik::PreferenceKeys {

/// Under what names the user's preferences are kept (see UserDefaults).
inline const QString mainWindowFrame = QStringLiteral("mainWindowFrame"); // see WindowFrame.h
inline const QString staysOnTop = QStringLiteral("staysOnTop");           // a bool
inline const QString selectedCameraIndex = QStringLiteral("selectedCameraIndex"); // from 0
inline const QString lastAutomaticUpdateCheck =
    QStringLiteral("lastAutomaticUpdateCheck"); // a date; manual checks count as well

} // namespace lumvik::PreferenceKeys
