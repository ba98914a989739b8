#include "TestHome.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSettings>

#include <gtest/gtest.h>

namespace lumvik::test {

namespace {

const QString configurationName = QStringLiteral("config");
const QString dataName = QStringLiteral("data");
const QString cacheName = QStringLiteral("cache");
const QString runtimeName = QStringLiteral("run");

void writeFile(const QString &path, const QByteArray &bytes) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QFile::WriteOnly) || file.write(bytes) != bytes.size())
        ADD_FAILURE() << "cannot write " << path.toStdString();
}

} // namespace

TestHome::TestHome() {
    QDir folder(m_folder.path());
    for (const QString &name : {configurationName, dataName, cacheName, runtimeName})
        folder.mkdir(name);
    // Libraries reject a runtime folder that other users can access.
    QFile::setPermissions(folder.filePath(runtimeName),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    setPreference(QStringLiteral("lastAutomaticUpdateCheck"),
                  QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs));
}

QProcessEnvironment TestHome::environment(QProcessEnvironment base) const {
    base.insert(QStringLiteral("HOME"), m_folder.path());
    base.insert(QStringLiteral("XDG_CONFIG_HOME"), m_folder.filePath(configurationName));
    base.insert(QStringLiteral("XDG_DATA_HOME"), m_folder.filePath(dataName));
    base.insert(QStringLiteral("XDG_CACHE_HOME"), m_folder.filePath(cacheName));
    base.insert(QStringLiteral("XDG_RUNTIME_DIR"), m_folder.filePath(runtimeName));
    base.insert(QStringLiteral("LUMVIK_LOG"), QStringLiteral("stderr"));
    return base;
}

QString TestHome::cacheFolder() const {
    return m_folder.filePath(cacheName) + QStringLiteral("/lumvik");
}

QString TestHome::dataFolder() const {
    return m_folder.filePath(dataName + QStringLiteral("/lumvik"));
}

QStringList TestHome::dataFolderEntries() const {
    return QDir(dataFolder()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
}

void TestHome::writeCameras(const QList<ListedCamera> &cameras) const {
    QJsonArray list;
    for (const ListedCamera &camera : cameras)
        list.append(QJsonObject{{QStringLiteral("name"), camera.name},
                                {QStringLiteral("url"), camera.url}});
    writeDataFile(QStringLiteral("cameras.json"),
                  QJsonDocument(QJsonObject{{QStringLiteral("cameras"), list}}).toJson());
}

void TestHome::writeDataFile(const QString &name, const QByteArray &bytes) const {
    writeFile(dataFolder() + u'/' + name, bytes);
}

QByteArray TestHome::readDataFile(const QString &name) const {
    QFile file(dataFolder() + u'/' + name);
    return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
}

void TestHome::setPreference(const QString &key, const QVariant &value) const {
    QSettings(preferencesPath(), QSettings::IniFormat).setValue(key, value);
}

void TestHome::writePreferencesFile(const QByteArray &bytes) const {
    writeFile(preferencesPath(), bytes);
}

QVariant TestHome::preference(const QString &key) const {
    QSettings settings(preferencesPath(), QSettings::IniFormat);
    settings.sync(); // reads changes that another process may have made
    return settings.value(key);
}

QString TestHome::preferencesPath() const {
    return m_folder.filePath(configurationName + QStringLiteral("/lumvik/lumvik.conf"));
}

} // namespace lumvik::test
