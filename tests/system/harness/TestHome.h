#pragma once

#include <QByteArray>
#include <QList>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <QVariant>

namespace lumvik::test {

/// An entry of the camera list.
struct ListedCamera {
    QString name;
    QString url;
};

/// The temporary home folder of a simulated user. Tests write and read its files. The preferences
/// contain a recent update check, so that the viewer does not contact a server. The folder outlives
/// the viewer's process, so that a viewer that is started again finds the files of the previous
/// process.
class TestHome {
  public:
    TestHome();

    /// The environment `base` with variables that select this home folder and send the log to
    /// standard error.
    [[nodiscard]] QProcessEnvironment environment(QProcessEnvironment base) const;

    /// The folder that contains the camera list. The folder does not exist until the test or the
    /// viewer creates it.
    [[nodiscard]] QString dataFolder() const;
    /// The names of all files and folders in the data folder, including hidden ones.
    [[nodiscard]] QStringList dataFolderEntries() const;

    /// Writes the camera list in the program's own format.
    void writeCameras(const QList<ListedCamera> &cameras) const;
    /// Writes `bytes` to a file in the data folder. `name` is for example "cameras.json" or
    /// "cameras.last-good.json".
    void writeDataFile(const QString &name, const QByteArray &bytes) const;
    [[nodiscard]] QByteArray readDataFile(const QString &name) const;

    /// The folder for files that the viewer can create again. The folder does not exist until the
    /// viewer creates it.
    [[nodiscard]] QString cacheFolder() const;

    /// The folder in which the user keeps pictures. It does not exist until the viewer creates it.
    [[nodiscard]] QString picturesFolder() const {
        return m_folder.filePath(QStringLiteral("Pictures"));
    }

    /// Stores a preference. To be called before the viewer starts.
    void setPreference(const QString &key, const QVariant &value) const;
    /// Replaces the contents of the preferences file with `bytes`.
    void writePreferencesFile(const QByteArray &bytes) const;
    /// The value that the preferences file contains for `key`. Invalid when the file contains no
    /// such value.
    [[nodiscard]] QVariant preference(const QString &key) const;

  private:
    [[nodiscard]] QString preferencesPath() const;

    QTemporaryDir m_folder;
};

} // namespace lumvik::test
