#pragma once

#include <QByteArray>
#include <QList>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <QVariant>

namespace lumvik::test {

/// A camera as it stands in the camera list.
struct ListedCamera {
    QString name;
    QString url;
};

/// The home folder of an imaginary user: empty at first, prepared and read by the test, gone with
/// the object. Updates count as looked for just now, so that no test asks a server. It outlives the
/// viewer's process, so that a second start finds what the first one left.
class TestHome {
  public:
    TestHome();

    /// `base` with this home in it, and the log sent to standard error.
    [[nodiscard]] QProcessEnvironment environment(QProcessEnvironment base) const;

    /// The folder of the camera list; it exists only once somebody made it.
    [[nodiscard]] QString dataFolder() const;
    /// The names of all files and folders in it, hidden ones included.
    [[nodiscard]] QStringList dataFolderEntries() const;

    /// Writes the camera list as the program itself would.
    void writeCameras(const QList<ListedCamera> &cameras) const;
    /// Writes any bytes under any name ("cameras.json", "cameras.last-good.json") in the data
    /// folder.
    void writeDataFile(const QString &name, const QByteArray &bytes) const;
    [[nodiscard]] QByteArray readDataFile(const QString &name) const;

    /// Stores one preference, before the viewer starts.
    void setPreference(const QString &key, const QVariant &value) const;
    /// Replaces the whole preferences file by these bytes.
    void writePreferencesFile(const QByteArray &bytes) const;
    /// What the file holds now under `key`; invalid when nothing.
    [[nodiscard]] QVariant preference(const QString &key) const;

  private:
    [[nodiscard]] QString preferencesPath() const;

    QTemporaryDir m_folder;
};

} // namespace lumvik::test
