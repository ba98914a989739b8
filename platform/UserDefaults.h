#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QMap>
#include <QString>
#include <QTimer>
#include <QVariant>

#include <optional>

namespace lumvik {

/// The user's preferences, stored in one INI file. Main thread only.
///
/// A value of the wrong type or an unreadable file counts as absent. The file is written atomically
/// (see AtomicWrite.h): if it cannot be written, for example because the disk is full, it keeps its
/// contents, the new values are kept in memory for the next attempt, and one line is logged.
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
    /// Reads the values that another process may have written. Pending values win.
    void refresh() { read(); }

  private:
    /// Reads the values in the file, as far as it is well-formed.
    void read();
    /// Writes the pending values to the file. Returns whether that succeeded.
    [[nodiscard]] bool write();

    const QString m_path;
    QByteArray m_contents;            // of the file, when it was last read
    QMap<QString, QString> m_stored;  // the values in the file
    QMap<QString, QString> m_pending; // the values that have not been written yet
    QTimer m_writing;
    bool m_reportedFailure = false;
};

} // namespace lumvik
