#pragma once

#include <QSettings>
#include <QString>

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

    /// $XDG_CONFIG_HOME/lumvik/lumvik.conf, by default ~/.config/lumvik/lumvik.conf.
    [[nodiscard]] static QString standardPath();

    [[nodiscard]] std::optional<int> integer(const QString &key) const;
    /// The bool under `key`; false when there is none.
    [[nodiscard]] bool boolean(const QString &key) const;
    /// The text under `key`; null when there is none.
    [[nodiscard]] QString string(const QString &key) const;

    /// Stores a value. It reaches the disk on the next turn of the event loop, or at destruction.
    void set(const QString &key, const QVariant &value);
    /// Writes what is not on the disk yet.
    void synchronize();

  private:
    QSettings m_settings;
    bool m_reportedFailure = false;
};

} // namespace lumvik
