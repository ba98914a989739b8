#pragma once

#include <QByteArray>
#include <QString>

#include <tl/expected.hpp>

namespace lumvik {

/// The option with which the desktop starts the program when the user logs in.
inline const QString atLoginOption = QStringLiteral("at-login");

/// Returns the desktop entry that starts the program at the absolute path `program` when the user
/// logs in.
[[nodiscard]] QByteArray autostartEntryText(const QString &program);

/// Returns whether a desktop with the autostart entry `text` starts the program. Desktops switch an
/// entry off by a key in it rather than by removing it.
[[nodiscard]] bool isActiveAutostartEntry(const QByteArray &text);

/// The file with which the desktop starts the program when the user logs in, as the Desktop
/// Application Autostart Specification of freedesktop.org describes it. The file itself is the
/// setting, because the desktop's own settings change it as well. Main thread only.
class AutostartEntry {
  public:
    /// `folder` is the user's autostart folder, which need not exist. `program` is the absolute
    /// path of the program. If it is empty, the program cannot be started at login.
    AutostartEntry(QString folder, QString program);
    /// The entry of this program in the user's folder. In an AppImage, the program is the image. In
    /// a Flatpak, programs cannot write such entries.
    [[nodiscard]] static AutostartEntry standard();

    [[nodiscard]] bool isAvailable() const { return !m_program.isEmpty(); }
    [[nodiscard]] bool isOn() const;
    /// Writes or removes the file. Returns the reason in plain words if that fails.
    [[nodiscard]] tl::expected<void, QString> setOn(bool isOn) const;

  private:
    QString m_folder;
    QString m_program;
};

} // namespace lumvik
