#pragma once

#include <QSize>
#include <QString>

namespace lumvik::PreferenceKeys {

// The keys under which the user's preferences are stored (see UserDefaults), and the defaults that
// apply while no value is stored.

/// The frame of the viewer window, in the format of WindowFrame.h.
inline const QString mainWindowFrame = QStringLiteral("mainWindowFrame");
/// The default size of the viewer window, in points. By default, the window is centred.
inline constexpr QSize defaultViewerSize{1120, 630};

/// The state of the pin: whether the viewer stays above other windows. A bool.
inline const QString staysOnTop = QStringLiteral("staysOnTop");
inline constexpr bool staysOnTopByDefault = false;

/// Whether the screen is kept on while a picture is shown. A bool; false by default.
inline const QString keepsScreenOn = QStringLiteral("keepsScreenOn");

/// Whether the user is notified when the picture is lost. A bool; false by default.
inline const QString notifiesOfLoss = QStringLiteral("notifiesOfLoss");

/// Whether the area of each camera is remembered. A bool; false by default.
inline const QString remembersArea = QStringLiteral("remembersArea");

/// The zero-based index of the selected camera.
inline const QString selectedCameraIndex = QStringLiteral("selectedCameraIndex");
inline constexpr int defaultCameraIndex = 0;

/// Whether a camera list has been stored. A bool. If it is set and there is no list, the folder of
/// the list may be on a disk that is missing.
inline const QString cameraListExists = QStringLiteral("cameraListExists");

/// The date of the last successful update check, whether automatic or manual. While no date is
/// stored, an automatic check is due.
inline const QString lastAutomaticUpdateCheck = QStringLiteral("lastAutomaticUpdateCheck");

/// What is known of the logins to cameras, in the format of LoginHistories. It contains no names
/// and no passwords.
inline const QString loginHistories = QStringLiteral("loginHistories");

} // namespace lumvik::PreferenceKeys
