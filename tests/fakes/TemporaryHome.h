#pragma once

#include "configuration/CameraConfigurationStore.h"
#include "platform/UserDefaults.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace lumvik::test {

/// A camera store and user defaults in a temporary folder. The destructor deletes the folder.
class TemporaryHome {
  public:
    TemporaryHome() { EXPECT_TRUE(m_folder.isValid()); }

    [[nodiscard]] CameraConfigurationStore &store() { return m_store; }
    [[nodiscard]] UserDefaults &userDefaults() { return m_userDefaults; }

    /// Returns the path of `name` in the temporary folder.
    [[nodiscard]] QString path(const QString &name) const { return m_folder.filePath(name); }
    [[nodiscard]] QString storeFolder() const {
        return m_folder.filePath(QStringLiteral("lumvik"));
    }
    [[nodiscard]] QString camerasFile() const {
        return storeFolder() + QStringLiteral("/cameras.json");
    }

    /// Stores a camera list in the same way as the program.
    void saveCameras(const CameraList &cameras) { EXPECT_TRUE(m_store.save(cameras).has_value()); }

    /// Writes a camera list that cannot be parsed, and removes its recovery copy.
    void damageCameras() {
        saveCameras({});
        QFile::remove(storeFolder() + QStringLiteral("/cameras.last-good.json"));
        QFile file(camerasFile());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        ASSERT_GT(file.write("{ this is no camera list"), 0);
    }

  private:
    QTemporaryDir m_folder;
    CameraConfigurationStore m_store{storeFolder()};
    UserDefaults m_userDefaults{m_folder.filePath(QStringLiteral("lumvik.conf"))};
};

} // namespace lumvik::test
