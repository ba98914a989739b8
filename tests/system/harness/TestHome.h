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

/// The temporary home folder of a simulated user, which the test prepares and reads. The date of
/// the last update check is preset to today, so that no test contacts a server. The folder outlives
/// the viewer's process, so that a later start finds the files of an earlier one.
class TestHome {
  public:
    TestHome();

    /// `base` with this home folder, and with the log sent to standard error.
    [[nodiscard]] QProcessEnvironment environment(QProcessEnvironment base) const;

    /// The folder of the camera list. It does not exist until the test or the viewer creates it.
    [[nodiscard]] QString dataFolder() const;
    /// The names of all files and folders in the data folder, including hidden ones.
    [[nodiscard]] QStringList dataFolderEntries() const;

    /// Writes the camera list as the program itself would.
    void writeCameras(const QList<ListedCamera> &cameras) const;
    /// Writes a file with these bytes to the data folder, such as "cameras.json" or
    /// "cameras.last-good.json".
    void writeDataFile(const QString &name, const QByteArray &bytes) const;
    [[nodiscard]] QByteArray readDataFile(const QString &name) const;

    /// Stores a preference. To be called before the viewer starts.
    void setPreference(const QString &key, const QVariant &value) const;
    /// Replaces the whole preferences file by these bytes.
    void writePreferencesFile(const QByteArray &bytes) const;
    /// The value that the preferences file contains for `key`. Invalid when there is none.
    [[nodiscard]] QVariant preference(const QString &key) const;

  private:
    [[nodiscard]] QString preferencesPath() const;

    QTemporaryDir m_folder;
};

} // namespace lumvik::test
