#pragma once

#include <QDateTime>
#include <QHash>
#include <QSettings>
#include <QString>
#include <QTimer>

#include <optional>

namespace lumvik {

/// The user's small preferences, kept in one INI file. Main thread only.
///
/// A value of the wrong kind, and a file that cannot be read, count as absent; a file that cannot
/// be written costs the preference and one log line, nothing else.
class UserDefaults {
  public:
    /// Works on the file at `path`, which need not exist.
    explicit UserDefaults(const QString &path);
    UserDefaults(const UserDefaults &) = delete;
    UserDefaults &operator=(const UserDefaults &) = delete;
    ~UserDefaults();

    /// $XDG_CONFIG_HOME/lumvik/lumvik.conf, by default ~/.config/lumvik/lumvik.conf.
    [[nodiscard]] static QString standardPath();

    [[nodiscard]] std::optional<int> integer(const QString &key) const;
    /// The bool under `key`; false when there is none.
    [[nodiscard]] bool boolean(const QString &key) const;
    /// The text under `key`; null when there is none.
    [[nodiscard]] QString string(const QString &key) const;

    /// The date under `key`, UTC; nothing when there is none.
    [[nodiscard]] std::optional<QDateTime> date(const QString &key) const;

    /// Stores a value; dates as ISO 8601 in UTC. It reaches the disk within half a second, or at
    /// destruction: a window that is dragged stores its frame at every step, and the disk need not
    /// hear of each.
    void set(const QString &key, const QVariant &value);
    /// Writes what is not on the disk yet.
    void synchronize();

  private:
    [[nodiscard]] QVariant value(const QString &key) const;

    QSettings m_settings;
    QHash<QString, QVariant> m_pending; // not in m_settings yet, which would write in the next turn
    QTimer m_writing;
    bool m_reportedFailure = false;
};

} // namespace lumvik
