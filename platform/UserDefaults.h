#pragma once

#include <QDateTime>
#include <QHash>
#include <QSettings>
#include <QString>
#include <QTimer>

#include <optional>

namespace lumvik {

/// The user's preferences, stored in one INI file. Main thread only.
///
/// A value of the wrong type or an unreadable file counts as absent. If the file cannot be written,
/// the preferences are lost on exit and one line is logged.
class UserDefaults {
  public:
    /// Uses the file at `path`, which need not exist.
    explicit UserDefaults(const QString &path);
    UserDefaults(const UserDefaults &) = delete;
    UserDefaults &operator=(const UserDefaults &) = delete;
    ~UserDefaults();

    /// Returns $XDG_CONFIG_HOME/lumvik/lumvik.conf, by default ~/.config/lumvik/lumvik.conf.
    [[nodiscard]] static QString standardPath();

    [[nodiscard]] std::optional<int> integer(const QString &key) const;
    /// Returns the bool stored under `key`, or `fallback` if there is none.
    [[nodiscard]] bool boolean(const QString &key, bool fallback = false) const;
    /// Returns the text stored under `key`, or a null string if there is none.
    [[nodiscard]] QString string(const QString &key) const;

    /// Returns the date stored under `key`, in UTC, or nothing if there is none.
    [[nodiscard]] std::optional<QDateTime> date(const QString &key) const;

    /// Stores a value. Dates are stored in ISO 8601 format, in UTC. The file is written within half
    /// a second or on destruction, not at once, because the window frame is stored at every step
    /// while a window is dragged.
    void set(const QString &key, const QVariant &value);
    /// Writes all pending values to the file.
    void synchronize();

  private:
    [[nodiscard]] QVariant value(const QString &key) const;

    QSettings m_settings;
    QHash<QString, QVariant> m_pending; // kept out of m_settings, which would write them at once
    QTimer m_writing;
    bool m_reportedFailure = false;
};

} // namespace lumvik
